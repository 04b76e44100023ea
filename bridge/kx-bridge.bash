# bash completion for kx-bridge
_kx_bridge() {
    local cur prev words cword split
    _init_completion -s || return

    case $prev in
        --arm) COMPREPLY=($(compgen -W '127.0.0.1:8080,46 127.0.0.1:8080,36 127.0.0.1:8080,47' -- "$cur")) && __ltrim_colon_completions "$cur" ;;
        --rename) COMPREPLY=($(compgen -S = -W 'joint_states tf tf_static diagnostics robot_description wrench robot_joint_commands joint_trajectory' -- "$cur")) ;;
        *) [[ $cur == -* || ! $prev == -* ]] && COMPREPLY=($(compgen -W "$(_parse_help kx-bridge)" -- "$cur")) ;;
    esac
} && complete -F _kx_bridge kx-bridge
