fpath=($PWD/tools/completion $fpath)
autoload -Uz compinit
compinit -D -u
. tests/system/completion/told
