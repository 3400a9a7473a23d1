# Completion of pallctl, pallframe and pallbus for bash. The programs list the candidates themselves
# (PROGRAM complete WORDS...); this script adapts them to the words of readline.

# Sets REPLY to the text without quotes and backslashes, and `quote` to the quote left open.
_pallwatch_unquote() {
    local text=$1 character i
    REPLY='' quote=''
    for ((i = 0; i < ${#text}; i++)); do
        character=${text:i:1}
        if [[ $character == "$quote" ]]; then
            quote=
        elif [[ -z $quote && $character == [\'\"] ]]; then
            quote=$character
        elif [[ $character == \\ && $quote != \' ]]; then
            REPLY+=${text:++i:1}
        else
            REPLY+=$character
        fi
    done
}

# Sets REPLY to the word, quoted for use after that open quote or without one.
_pallwatch_quote() {
    local special
    case $2 in
        \') REPLY=${1//\'/\'\\\'\'} ;;
        \")
            REPLY=$1
            for special in \\ \$ \` \"; do
                REPLY=${REPLY//"$special"/\\"$special"}
            done
            ;;
        *) printf -v REPLY %q "$1" ;;
    esac
}

# Sets `words` to the words up to the cursor, and `kept` to the length of the part of the last one
# that readline does not replace, because "=" and ":" also end a word for it.
_pallwatch_words() {
    local rest=${COMP_LINE:0:COMP_POINT} trimmed part i
    words=() kept=0
    for ((i = 0; i <= COMP_CWORD; i++)); do
        part=${COMP_WORDS[i]}
        trimmed=${rest#"${rest%%[![:blank:]]*}"}
        ((i < COMP_CWORD)) || part=$trimmed
        _pallwatch_unquote "$part"
        if ((i == 0)) || [[ $trimmed != "$rest" ]]; then
            words+=("$REPLY")
            kept=0
        else
            kept=${#words[-1]}
            words[-1]+=$REPLY
        fi
        rest=${trimmed#"$part"}
    done
    [[ $part != [=:]* ]] || kept=${#words[-1]}
}

_pallwatch() {
    local IFS=$'\n' REPLY quote kept words kind word
    _pallwatch_words
    local -a lines
    mapfile -t lines < <("${1/#\~\//$HOME/}" complete "${words[@]:1}" 2>/dev/null)
    kind=${lines[0]}
    word=${words[-1]:kept}
    COMPREPLY=()
    case $kind in
        files) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        directories) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
        commands) mapfile -t COMPREPLY < <(compgen -c -- "$word") ;;
        words)
            for word in "${lines[@]:1}"; do
                word=${word%%$'\t'*}
                word=${word:kept}
                _pallwatch_quote "$word" "$quote"
                COMPREPLY+=("$REPLY")
            done
            [[ ${#COMPREPLY[@]} != 1 || ${COMPREPLY[0]} != *[=.] ]] || compopt -o nospace
            ;;
    esac
}

complete -F _pallwatch pallctl pallframe pallbus
