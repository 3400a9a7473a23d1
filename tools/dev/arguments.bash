# For ./dev: errors, and the arguments of commands.

# Reports a failure.
fail() {
  echo "dev: $1" >&2
  exit 1
}

# Reports invalid usage.
misused() {
  echo "dev: $1" >&2
  exit 2
}

# For a command without arguments: its name, and the arguments that were given.
expect_nothing() { [ $# -lt 2 ] || misused "$1 takes nothing, not '$2'"; }

# Checks the arguments of a command before anything is built: its name, its options that take a number, those that
# take another value, and those that take none, each as one word; then the arguments.
expect_options() {
  local command=$1 numbers texts flags; shift
  read -ra numbers <<<"$1"; shift
  read -ra texts <<<"$1"; shift
  read -ra flags <<<"$1"; shift
  while [ $# -gt 0 ]; do
    if is_in "$1" ${numbers[@]+"${numbers[@]}"}; then
      [[ ${2:-} =~ ^[0-9]+([.][0-9]+)?$ ]] || misused "$command $1 needs a number"
      shift
    elif is_in "$1" ${texts[@]+"${texts[@]}"}; then
      [ $# -gt 1 ] || misused "$command $1 needs a value"
      shift
    elif ! is_in "$1" ${flags[@]+"${flags[@]}"}; then
      misused "$command: invalid argument '$1'; ./dev $command --help lists the valid ones"
    fi
    shift
  done
}

# Whether the first word is one of the others.
is_in() {
  local word=$1 other; shift
  for other in "$@"; do
    [ "$word" != "$other" ] || return 0
  done
  return 1
}

# The same, ignoring case.
is_one_of() {
  local word=${1,,} other; shift
  for other in "$@"; do
    [ "$word" != "${other,,}" ] || return 0
  done
  return 1
}

# Joins the words with commas.
in_a_row() {
  local row=$1 word; shift
  for word in "$@"; do row+=", $word"; done
  echo "$row"
}
