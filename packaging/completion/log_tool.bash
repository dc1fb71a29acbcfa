# Completion of log_tool(1) for bash.

_log_tool() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()

    case $previous in
    -a | -p) return ;; # an address, a port: nothing to propose
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "-r -a -p" -- "$current")
    else
        compopt -o filenames 2>/dev/null # not there outside of a completion
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}

complete -F _log_tool log_tool
