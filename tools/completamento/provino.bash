# Completion of provino for bash: the program itself tells what may follow.
_provino()
{
    local parola detto taglio prima=() ultima=${COMP_WORDS[COMP_CWORD]#=}
    # bash splits at '=', the program knows look=Amber as one word.
    for parola in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        if ((${#prima[@]})) && [[ $parola == = || ${prima[-1]} == *= ]]; then
            prima[-1]+=$parola
        else
            prima+=("$parola")
        fi
    done
    parola=${prima[-1]}
    unset 'prima[-1]'
    taglio=${parola%"$ultima"} # what stands already
    parola=${parola//[\"\'\\]/}
    [[ $parola == --*=* ]] && prima+=("${parola%%=*}") parola=${parola#*=} taglio=
    while IFS= read -r detto; do
        # Of a parameter first the name, then its values.
        [[ " ${prima[*]}" != *" -"@(p|-param) ]] || [[ $detto == *= && $parola != *=* ]] ||
            [[ $detto != *= && $parola == *=* ]] || continue
        [[ $detto != "$parola"* ]] || COMPREPLY+=("${detto#"$taglio"}")
    done < <(provino --complete "${prima[@]}" 2> /dev/null)
    [[ ${COMPREPLY[0]-} == *= ]] && compopt +o filenames -o nospace
    [[ $parola == -* || ${#COMPREPLY[@]} -gt 0 && ${#prima[@]} -eq 0 ]] ||
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$parola")
}
complete -o filenames -F _provino provino
