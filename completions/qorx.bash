# bash completion for qorx, qorx-replay and qorx-capture

# The addresses of the physical ports as -p takes them: bus:dev.fun of the last PCI device in each interface's path.
_qorx_addresses() {
    local net=${QORX_COMPLETION_NET:-/sys/class/net} link target
    for link in "$net"/*; do
        target=$(readlink "$link") || continue
        if [[ $target =~ .*/0000:([0-9a-f]{2}:[0-9a-f]{2}\.[0-7])/ ]]; then
            printf '%s\n' "${BASH_REMATCH[1]}"
        fi
    done | sort -u
}

_qorx_interfaces() {
    local net=${QORX_COMPLETION_NET:-/sys/class/net} link
    for link in "$net"/*; do
        if [[ -L $link && ${link##*/} != lo ]]; then
            printf '%s\n' "${link##*/}"
        fi
    done
}

# Sets words and current from the words that readline made, with "5e", ":", "00.3" joined again.
_qorx_split_words() {
    local word join=
    words=()
    for word in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
        if [[ ${#words[@]} -gt 0 && ($word == : || -n $join) ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
        join=
        [[ $word == : ]] && join=yes
    done
    current=${words[-1]}
}

_qorx_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

_qorx_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

# Options not given yet; the name file only helps -legacy.
_qorx_options() {
    local option remaining=()
    for option in -config -smbios_cfg -legacy -sys_WMX_cfg -F -sort_slotname -novlan -vm -diag -ML; do
        if [[ " ${words[*]} " != *" $option "* && ($option != -sys_WMX_cfg || " ${words[*]} " == *' -legacy '*) ]]; then
            remaining+=("$option")
        fi
    done
    _qorx_words "${remaining[*]}"
}

# Behind words[0], a command line of qorx.
_qorx_command() {
    local previous=${words[-2]}
    if [[ ${#words[@]} -eq 2 ]]; then
        _qorx_words '-a -d -f -p -o -tovix.cfg -sysinfo -support -V'
        return
    fi
    if [[ ${#words[@]} -gt 3 && ${words[-3]} == -diag ]]; then
        _qorx_files
        return
    fi
    case $previous in
        -d) _qorx_words "$(_qorx_interfaces)" ;;
        -f) _qorx_words 'POE A_BYPASS L_BYPASS N/A NCSI 1PPS NCSI/1PPS A_BYPASS_I2C' ;;
        -p)
            _qorx_words "$(_qorx_addresses)"
            # readline replaces only what stands behind the last colon.
            if [[ $current == *:* && $COMP_WORDBREAKS == *:* ]]; then
                COMPREPLY=("${COMPREPLY[@]#"${current%:*}:"}")
            fi
            ;;
        -o | -config | -sys_WMX_cfg | -smbios_cfg | -diag) _qorx_files ;;
        -ML) _qorx_words '0 1 2' ;;
        *) _qorx_options ;;
    esac
}

_qorx() {
    local words current
    COMPREPLY=()
    _qorx_split_words
    _qorx_command
}

# The interfaces and addresses are those of the recorded machine where it is a directory.
_qorx_replay() {
    local words current
    COMPREPLY=()
    _qorx_split_words
    if [[ ${#words[@]} -eq 2 ]]; then
        if [[ $current == -* ]]; then _qorx_words --help; else _qorx_files; fi
        return
    fi
    local QORX_COMPLETION_NET=${words[1]}/sys/class/net
    words=(qorx "${words[@]:2}")
    if [[ ${#words[@]} -gt 2 && ${words[1]} == -- ]]; then
        words=(qorx "${words[@]:2}")
    fi
    _qorx_command
}

_qorx_capture() {
    local words current option remaining=()
    COMPREPLY=()
    _qorx_split_words
    case ${words[-2]} in
        -o | --root) _qorx_files ;;
        *)
            for option in -o --root --anonymize --help; do
                [[ " ${words[*]} " == *" $option "* ]] || remaining+=("$option")
            done
            _qorx_words "${remaining[*]}"
            ;;
    esac
}

complete -F _qorx qorx
complete -F _qorx_replay qorx-replay
complete -F _qorx_capture qorx-capture
