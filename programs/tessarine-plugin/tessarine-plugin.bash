# bash completion for tessarine-plugin                               -*- shell-script -*-
# The first word is a command; the options are read from the program's own --help, so they
# follow it. PLUGIN completes file names (a plug-in may have any name), DIR of new completes
# directories; NAME, KEY=VALUE and the numbers of --cycles and --timeout are the user's own, so
# nothing is offered for them.

_tessarine_plugin()
{
    local cur prev words cword
    _init_completion || return

    case $prev in
        --cycles | --timeout) return ;;
    esac
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W '$(_parse_help "$1")' -- "$cur"))
        return
    fi

    # The operands so far: the command, then its arguments; options and their values aside.
    local i operands=()
    for ((i = 1; i < cword; i++)); do
        case ${words[i]} in
            --cycles | --timeout) ((i++)) ;;
            -*) ;;
            *) operands+=("${words[i]}") ;;
        esac
    done
    case ${operands[0]-}/${#operands[@]} in
        /0) COMPREPLY=($(compgen -W 'info run check new help version' -- "$cur")) ;;
        info/1 | run/1 | check/1) _filedir ;;
        new/2) _filedir -d ;;
    esac
} &&
    complete -F _tessarine_plugin tessarine-plugin
