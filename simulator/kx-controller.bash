# bash completion for kx-controller
_kx_controller() {
    local cur prev words cword split
    _init_completion -s || return

    case $prev in
        --model) COMPREPLY=($(compgen -W '36 46 47' -- "$cur")) ;;
        --host | --web-host) COMPREPLY=($(compgen -W '127.0.0.1 localhost 0.0.0.0' -- "$cur")) ;;
        --fault) # what the program's own help lists
            COMPREPLY=($(compgen -W "$(kx-controller --help | sed -n '/^What happens/,$ s/^  \([a-z-]*\) .*/\1/p')" -- "$cur")) ;;
        --script | --fault-script | --record | --replay | --log) _filedir ;;
        *) [[ $cur == -* || ! $prev == -* ]] && COMPREPLY=($(compgen -W "$(_parse_help kx-controller)" -- "$cur")) ;;
    esac
} && complete -F _kx_controller kx-controller
