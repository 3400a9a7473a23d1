fpath=($COMPLETION $fpath)
autoload -Uz compinit
compinit -D -u
. "$ZDOTDIR/told"
