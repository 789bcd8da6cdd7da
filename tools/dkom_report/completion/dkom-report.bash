# Completion of dkom-report for bash.
_dkom_report()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $before in
    -s | --sort)
        COMPREPLY=($(compgen -W "total longest mean count failures" -- "$word"))
        return
        ;;
    -n | --limit | handle)
        return
        ;;
    esac
    if [[ $word == -* && $before != --html ]]; then
        COMPREPLY=($(compgen -W "--sort --limit --wide --literals --json --html --version --help" -- "$word"))
        return
    fi
    compopt -o filenames 2>/dev/null
    COMPREPLY=($(compgen -f -- "$word"))
    if [[ $COMP_CWORD -eq 1 ]]; then
        COMPREPLY+=($(compgen -W "calls statements connections leaks handle stop" -- "$word"))
    fi
}
complete -F _dkom_report dkom-report
