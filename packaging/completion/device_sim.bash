# Completion of device_sim(1) for bash.

_device_sim() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local files="--expect --dump --json"
    local flags="-h --help --as-fast-as-possible"
    local values="--bind --port --imu-rate --gnss-rate --pvt-rate --attitude-rate --generic-rate
        --latitude --longitude --seed --start-ticks --count --duration --burst --shuffle
        --silence-every --silence-for --short-at --short-to --long-every --unknown-every
        --empty-every --idle-timeout --receive-count"
    COMPREPLY=()

    if [[ " $files " == *" $previous "* ]]; then
        compopt -o filenames 2>/dev/null # not there outside of a completion
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    elif [[ " ${values//$'\n'/ } " == *" $previous "* ]]; then
        return # a number or an address: nothing to propose
    else
        mapfile -t COMPREPLY < <(compgen -W "$flags $values $files" -- "$current")
    fi
}

complete -F _device_sim device_sim
