# bash completion of dkomsql and dkomsql-exact

# Names of databases: the entries of tnsnames.ora, and the files of the embedded client libraries.
_dkomsql_links() {
    local directory file
    [ -r "${TNS_ADMIN:-}/tnsnames.ora" ] &&
        sed -n 's/^\([A-Za-z][A-Za-z0-9_.-]*\)[[:blank:]]*=.*/\1/p' "$TNS_ADMIN/tnsnames.ora"
    for directory in "${SQLITE_OCI_CLNTSH_DIR:-}" "${SQLITE_OCI_DKOCI_DIR:-}"; do
        [ -n "$directory" ] || continue
        for file in "$directory"/*.db; do
            [ -e "$file" ] && basename "$file" .db
        done
    done
}

_dkomsql() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local options='--help --password-file --execute --file --format --no-header --bind --max-value --null
        --expanded --json-numbers --types --no-autocommit --timing --no-startup --no-pager --status
        --stop-on-error --continue --version'
    COMPREPLY=()
    # bash cuts words at `=`.
    if [ "$word" = '=' ]; then
        word=''
    elif [ "$before" = '=' ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $before in
    --format)
        mapfile -t COMPREPLY < <(compgen -W 'table csv json' -- "$word")
        return
        ;;
    -f | --file | --password-file)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    -e | --execute | -b | --bind | --max-value | --null)
        return
        ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    # Behind USER@, only the link is completed.
    local user=''
    [[ $word == *@* ]] && user=${word%@*}@
    mapfile -t COMPREPLY < <(compgen -P "$user" -W "$(_dkomsql_links)" -- "${word#"$user"}")
}

complete -F _dkomsql dkomsql dkomsql-exact
