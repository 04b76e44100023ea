# bash completion for kx
_kx() {
    local cur prev words cword split
    _init_completion -s || return

    case $prev in
        --arm) COMPREPLY=($(compgen -W "127.0.0.1:8080 ${KX_ARM:-}" -- "$cur")) && __ltrim_colon_completions "$cur" ;;
        --output) _filedir ;;
        --model) COMPREPLY=($(compgen -W '36 46 47' -- "$cur")) ;;
        do | ao | tool | di | ai) COMPREPLY=($(compgen -W '1 2 3 4' -- "$cur")) ;;
    esac
    case $prev in
        --arm | --model | --timeout | --every | --speed | --force | --listen | --near | --prefix | --meshes | --output | --hz | --seconds | do | ao | tool | di | ai) return ;;
    esac

    local word command=''
    for word in "${words[@]:1:cword-1}"; do
        case $word in
            state | movej | movel | stop | io | gripper | fk | ik | urdf | srdf | mjcf | meshes | raw | record | export) command=$word && break ;;
        esac
    done
    if [[ $cur == -* ]]; then # what the program's own help lists
        COMPREPLY=($(compgen -W "$(_parse_help kx) $([[ $command ]] && _parse_help kx "$command --help")" -- "$cur"))
        return
    fi
    case $command in
        '') COMPREPLY=($(compgen -W 'state movej movel stop io gripper fk ik urdf srdf mjcf meshes raw record export' -- "$cur")) ;;
        io) case $prev in
            io) COMPREPLY=($(compgen -W 'do di ao ai tool' -- "$cur")) ;;
            *) COMPREPLY=($(compgen -W 'on off' -- "$cur")) ;;
        esac ;;
        urdf | srdf | mjcf | meshes) COMPREPLY=($(compgen -W '36 46 47' -- "$cur")) ;;
        record | export) _filedir mcap ;;
        gripper) COMPREPLY=($(compgen -W 'open close hold to' -- "$cur")) ;;
    esac
} && complete -F _kx kx
