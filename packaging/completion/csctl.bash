# Completion of csctl for bash. The candidates come from the tool itself.

_csctl()
{
    # Bash takes a word apart at "=", ":" and "@", of which names are made; the
    # words are those of the line, and $2 is the part that bash would replace.
    local line=${COMP_LINE:0:COMP_POINT} candidate
    local -a words
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    local word=${words[-1]}
    local kept=${word%"$2"}

    COMPREPLY=()
    while IFS= read -r candidate; do
        case $candidate in
            :files) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$2") ;;
            :directories) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$2") ;;
            *)
                COMPREPLY+=("${candidate#"$kept"}")
                [[ $candidate == *[@=] ]] && compopt -o nospace
                ;;
        esac
    done < <("$1" complete "${words[@]:1}" 2>/dev/null)
} 2>/dev/null

complete -F _csctl csctl
