# Completion of provino for bash: the program itself tells what may follow.
_provino()
{
    local IFS=$'\n' prima=("${COMP_WORDS[@]:1:COMP_CWORD-1}") parola=${COMP_WORDS[COMP_CWORD]}
    mapfile -t COMPREPLY < <(compgen -W "$(provino --complete "${prima[@]}" 2> /dev/null |
        sed 's/ /\\ /g')" -- "$parola")
    [[ ${COMPREPLY[0]-} == *= ]] && compopt -o nospace
    [[ $parola == -* || ${#COMPREPLY[@]} -gt 0 && ${#prima[@]} -eq 0 ]] ||
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$parola")
}
complete -o filenames -F _provino provino
