# Completion of tervolanda for bash 4.4 or later; needs nothing else.

# Offers the files that match an extended pattern, and folders; all files where none matches.
_tervolanda_files() {
    local pattern=$1 word=$cur file matched=
    local -a files
    # A word with a quote in it is taken apart as the shell will do it, but for what it expands.
    [[ $word != [\"\']* ]] || word=${word:1}
    word=${word//\\/}
    mapfile -t files < <(compgen -f -- "$word")
    compopt -o filenames 2>/dev/null
    for file in "${files[@]}"; do
        # The right side is unquoted: it is the pattern.
        if [[ $file == $pattern ]]; then
            COMPREPLY+=("$file")
            matched=yes
        elif [[ -d ${file/#~\//$HOME/} ]]; then
            COMPREPLY+=("$file")
        fi
    done
    [[ $matched ]] || COMPREPLY=("${files[@]}")
}

# Offers numbers, each given as "number (meaning)".  The meaning is only shown: it goes when one
# number is left, and when the shell puts the matches into the line one after the other.
_tervolanda_numbers() {
    local number
    for number in "$@"; do
        [[ $number != "$cur"* ]] || COMPREPLY+=("$number")
    done
    if ((${#COMPREPLY[@]} == 1)) || [[ ${COMP_TYPE-} == 37 || ${COMP_TYPE-} == 42 ]]; then
        COMPREPLY=("${COMPREPLY[@]%% *}")
    fi
}

_tervolanda() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local structures='*.@(pdb|ent|cif|mmcif|PDB|ENT)?(.gz)'
    local valued='-e -p -l -F -M -R -Rl -Ru -log -exclude -L -d -N -i -C -T -Tm -a -is -ms -s -P
        -TSF -O -mS -mP -opt -open -aff -seed -super -lws -dist -gap'
    local others='-h -help -version -V -rmsd -rms -gdt -in -av -nosort -rankMS -noscore -bb -urmsd
        -maxRMSD -TM -matrix -all -nourmsd -noalign -contact'
    local own='--strict --help= --threads= --pair= --map-chains --measure= --scores= --progress= --tsv= --ranking= --residues= --json=
        --jsonl= --npy= --newick= --linkage= --block= --part= --resume --missing= --merge= --plan= --input=
        --chain= --chain-e= --chain-p= --model= --altloc= --models= --report= --superposed= --pymol= --chimerax=
        --molstar= --rasmol='
    COMPREPLY=()

    # The shell takes "--name=value" for three words.
    if [[ $cur == = || $previous == = ]]; then
        cur=${cur#=}
        _tervolanda_files '*'
        return
    fi
    # Two dashes are as good as one.
    while [[ $previous == --* ]]; do previous=${previous#-}; done
    case $previous in
        -e | -p) _tervolanda_files "$structures" ;;
        -l | -F | -M | -R | -Rl | -Ru | -log | -exclude) _tervolanda_files "!($structures)" ;;
        -C)
            _tervolanda_numbers '0 (no clustering)' '1 (single linkage)' '2 (average linkage)' \
                '3 (maximum linkage)' '4 (neighbour pairs, min size)' \
                '5 (neighbour pairs, absolute size)'
            ;;
        -O)
            _tervolanda_numbers '0 (MaxSub atoms)' '1 (all atoms spanning MaxSub)' '2 (all atoms)'
            ;;
        -L)
            _tervolanda_numbers '1 (results)' '2 (pairs and trees of list runs)' \
                '3 (totals and GDT shares)' '4 (alignments)' '5 (the search)' '6 (everything)'
            ;;
        *)
            if [[ " $valued " == *[[:space:]]"$previous"[[:space:]]* ]]; then
                return # any number
            elif [[ $cur == -* ]]; then
                local dashes=${cur%%[!-]*}
                local extra=${dashes#-}
                mapfile -t COMPREPLY < <(compgen -P "$extra" -W "$valued $others" -- "${cur#"$extra"}"
                    compgen -W "$own" -- "$cur")
                [[ ${COMPREPLY[*]} != *= ]] || compopt -o nospace 2>/dev/null
            else
                _tervolanda_files "$structures"
            fi
            ;;
    esac
}

complete -F _tervolanda tervolanda
