# Completion of log_kit(1) for bash.

_log_kit() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]}
    local filter="--from --to --type --every"
    local options=
    COMPREPLY=()

    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "info check recover cut merge split retime redact dump
            diff -h --help" -- "$current")
        return
    fi
    case $command in
    info) options="--brief --json --gap --max-gap --min-rate --min-fix" ;;
    check) options="--json" ;;
    recover) options="--force --json" ;;
    cut) options="--force $filter" ;;
    merge) options="--force" ;;
    split) options="--every --size --at-gaps --gap --prefix --force" ;;
    retime) options="--force --unwrap --shift --start" ;;
    redact) options="--force --shift-position --origin --strip-position --shift-utc" ;;
    dump) options="$filter --hex --follow" ;;
    diff) options="--shift --tolerance --json" ;;
    esac

    case $previous in
    --type)
        mapfile -t COMPREPLY < <(compgen -W "imu gnss pvt attitude generic" -- "$current")
        return
        ;;
    --gap | --max-gap | --min-rate | --min-fix | --from | --to | --every | --size | --shift | --start | \
        --shift-position | --origin | --shift-utc | --tolerance)
        return # a number or a time: nothing to propose
        ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "-h --help $options" -- "$current")
    else
        compopt -o filenames 2>/dev/null # not there outside of a completion
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}

complete -F _log_kit log_kit
