# bash completion for tessarine-ini                                  -*- shell-script -*-
# The options are read from the program's own --help, so they follow it. FILE completes file
# names; the SECTION and KEY that follow --get are names inside the file, so nothing is offered
# for them.

_tessarine_ini()
{
    local cur prev words cword
    _init_completion || return

    local i
    for ((i = cword - 1; i >= 1 && i >= cword - 2; i--)); do
        [[ ${words[i]} == --get ]] && return
    done
    for ((i = 1; i < cword; i++)); do
        [[ ${words[i]} == -- ]] && { _filedir; return; }
    done
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W '$(_parse_help "$1")' -- "$cur"))
        return
    fi
    _filedir
} &&
    complete -F _tessarine_ini tessarine-ini
