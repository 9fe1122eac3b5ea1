# bash completion for qorx-inspect

_qorx_inspect_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "${COMP_WORDS[COMP_CWORD]}")
}

_qorx_inspect_paths() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "$1" -- "${COMP_WORDS[COMP_CWORD]}")
}

_qorx_inspect_ports() {
    local net=${QORX_COMPLETION_NET:-/sys/class/net} link
    for link in "$net"/*; do
        if [[ -L $link && ${link##*/} != lo ]]; then
            printf '%s\n' "${link##*/}"
        fi
    done
}

# The words of the command, and the options of qorx, that are not given yet.
_qorx_inspect_options() {
    local option remaining=() own=
    case $1 in
        compare) own='--ignore --with' ;;
        link) own='-o --primary --dry-run' ;;
        draw) own=-o ;;
    esac
    for option in $own --root -config -smbios_cfg -legacy -sys_WMX_cfg -F -sort_slotname -novlan -vm -diag -ML; do
        if [[ " ${COMP_WORDS[*]:0:COMP_CWORD} " != *" $option "* ]]; then
            remaining+=("$option")
        fi
    done
    _qorx_inspect_words "${remaining[*]}"
}

_qorx_inspect() {
    local previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    COMPREPLY=()
    if [[ $COMP_CWORD -eq 1 ]]; then
        _qorx_inspect_words 'json compare link draw explain --help --version'
        return
    fi
    if [[ $COMP_CWORD -gt 3 && ${COMP_WORDS[COMP_CWORD - 2]} == -diag ]]; then
        _qorx_inspect_paths -f
        return
    fi
    case $previous in
        --root | -config | -sys_WMX_cfg | -smbios_cfg | -diag) _qorx_inspect_paths -f ;;
        -o) if [[ $command == link ]]; then _qorx_inspect_paths -d; else _qorx_inspect_paths -f; fi ;;
        --ignore) _qorx_inspect_words 'slot model feature panel segment' ;;
        --with) _qorx_inspect_words 'eth_name address ids mac' ;;
        -ML) _qorx_inspect_words '0 1 2' ;;
        compare) _qorx_inspect_paths -f ;;
        explain) _qorx_inspect_words "$(_qorx_inspect_ports)" ;;
        *) _qorx_inspect_options "$command" ;;
    esac
}

complete -F _qorx_inspect qorx-inspect
