# Completion of dkom-check for bash.
_dkom_check()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $before in
    -e | --edition)
        COMPREPLY=($(compgen -W "exact extended" -- "$word"))
        return
        ;;
    --expect)
        COMPREPLY=($(compgen -W "oracle dravik" -- "$word"))
        return
        ;;
    -a | --attach | -u | --user | --timeout)
        return
        ;;
    esac
    if [[ $word == -* && $before != --password-file ]]; then
        COMPREPLY=($(compgen -W "--edition --attach --user --password-file --expect --timeout --json --version
            --help" -- "$word"))
        return
    fi
    compopt -o filenames 2>/dev/null
    COMPREPLY=($(compgen -f -- "$word"))
}
complete -F _dkom_check dkom-check
