# bash completion for pivotel-cli (installed as share/bash-completion/completions/pivotel-cli)

_pivotel_cli() {
    local cur prev
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD-1]}
    # bash splits "--action=cw" at the "=" (COMP_WORDBREAKS): complete the value as if it followed.
    if [[ $cur == = ]]; then
        cur=
    elif [[ $prev == = && COMP_CWORD -ge 2 ]]; then
        prev=${COMP_WORDS[COMP_CWORD-2]}
    fi
    local word
    # After "--" every word is a path.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word == -- ]]; then
            _pivotel_cli_paths
            return
        fi
    done
    case $prev in
    --action) COMPREPLY=($(compgen -W 'cw ccw 180 flip flipv transpose transverse asis' -- "$cur")); return ;;
    --odd-sizes) COMPREPLY=($(compgen -W 'trim reencode keep' -- "$cur")); return ;;
    --quality) COMPREPLY=($(compgen -W '75 80 85 90 95 100' -- "$cur")); return ;;
    -j | --jobs) COMPREPLY=($(compgen -W "$(seq 1 "$(nproc 2>/dev/null || echo 4)")" -- "$cur")); return ;;
    --memory-limit) COMPREPLY=($(compgen -W '512M 1G 2G 4G 8G' -- "$cur")); return ;;
    esac
    case $cur in
    -*)
        COMPREPLY=($(compgen -W '--no-recursive --action --reencode --quality --odd-sizes --process-all
            --preserve-dates -j --jobs --memory-limit --look --dry-run --json -q --quiet -v --verbose -h --help -V --version --' -- "$cur"))
        return
        ;;
    esac
    _pivotel_cli_paths
}

# Folders, and files with a JPEG extension in any case.
_pivotel_cli_paths() {
    local IFS=$'\n'
    local cur=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=($(compgen -d -- "$cur"))
    local file
    while IFS= read -r file; do
        [[ ${file,,} == *.@(jpg|jpeg|jfif|jpe) ]] && COMPREPLY+=("$file")
    done < <(compgen -f -- "$cur")
    compopt -o filenames 2>/dev/null
}

complete -F _pivotel_cli pivotel-cli
