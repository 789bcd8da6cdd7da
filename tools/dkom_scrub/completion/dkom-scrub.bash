# Completion of dkom-scrub for bash.
_dkom_scrub()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $before in
    -d | --directory)
        compopt -o filenames 2>/dev/null
        COMPREPLY=($(compgen -d -- "$word"))
        return
        ;;
    --key)
        return
        ;;
    esac
    if [[ $word == -* && $before != -o && $before != --output ]]; then
        COMPREPLY=($(compgen -W "--output --directory --gzip --names --times --key --version --help" -- "$word"))
        return
    fi
    compopt -o filenames 2>/dev/null
    COMPREPLY=($(compgen -f -- "$word"))
}
complete -F _dkom_scrub dkom-scrub
