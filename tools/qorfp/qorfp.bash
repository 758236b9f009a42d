# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Completion of qorfp, qorfp-synth and qorfp-selftest for bash. tests/manual compares what it offers
# with what --help prints.

# Offers the words that begin with the one being typed.
_qorfp_words() {
    mapfile -t COMPREPLY < <(compgen -W "$*" -- "$_qorfp_current")
}

# Offers folders, and files that have one of the endings.
_qorfp_files() {
    local ending
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(
        compgen -d -- "$_qorfp_current"
        for ending in "$@"; do
            compgen -f -X "!*.$ending" -- "$_qorfp_current"
        done
    )
}

_qorfp() {
    local _qorfp_current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} image_options='--fit --dpi' options
    local -a images=(pgm png bmp tif tiff jp2 j2k) files
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        _qorfp_words extract verify enroll improve identify check check-finger info export \
            import draw match stages eval eval-search --help --version
        return
    fi
    case $command in
        extract) options="-o --output --json $image_options" files=("${images[@]}") ;;
        verify) options="--level --json $image_options" files=("${images[@]}" bin) ;;
        enroll) options="-o --output $image_options" files=("${images[@]}" bin) ;;
        improve) options=$image_options files=("${images[@]}" bin) ;;
        identify) options="--level --top --strict $image_options" files=("${images[@]}" bin) ;;
        check) options='--write' files=(bin) ;;
        check-finger) options=$image_options files=("${images[@]}") ;;
        info) options='--json' files=(bin) ;;
        export) options='-o --output --format --finger --product --plain' files=(bin) ;;
        import) options='-o --output --view' files=(fmr) ;;
        draw) options="-o --output --scale $image_options" files=("${images[@]}") ;;
        match) options="-o --output --level --scale $image_options" files=("${images[@]}" bin) ;;
        stages) options="-o --output $image_options" files=("${images[@]}") ;;
        eval) options="-o --output --pattern --protocol --pairs -j --threads $image_options" files=() ;;
        eval-search)
            options="-o --output --pattern --captures --level -j --threads $image_options" files=()
            ;;
        *) return ;;
    esac
    case $previous in
        --level) _qorfp_words 1 2 3 4 5 ;;
        --scale) _qorfp_words 1 2 3 4 5 6 7 8 ;;
        --protocol) _qorfp_words fvc all ;;
        --captures) _qorfp_words 1 2 3 ;;
        --dpi) _qorfp_words 363 500 508 1000 ;;
        --format) _qorfp_words iso19794-2 ansi378 json ;;
        --finger) _qorfp_words 0 1 2 3 4 5 6 7 8 9 10 ;;
        --top | --view | --product | --pattern | --pairs | -j | --threads) ;;
        -o | --output)
            case $command in
                draw | match) _qorfp_files png ;;
                export) _qorfp_files fmr json ;;
                stages | eval | eval-search) _qorfp_files ;;
                *) _qorfp_files bin ;;
            esac
            ;;
        *)
            case $_qorfp_current in
                -*) _qorfp_words "$options -h --help" ;;
                *) _qorfp_files "${files[@]}" ;;
            esac
            ;;
    esac
}

_qorfp_synth() {
    local _qorfp_current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $previous in
        -o | --output) _qorfp_files ;;
        --difficulty) _qorfp_words easy normal hard ;;
        --class) _qorfp_words arch tented-arch left-loop right-loop whorl double-loop ;;
        --fingers | --first-finger | --impressions | --first-impression | --width | --height | \
            --dpi | --seed | -j | --threads) ;;
        *)
            _qorfp_words -h --help -o --output --fingers --first-finger --impressions \
                --first-impression --width --height --dpi --seed --difficulty --class -j --threads \
                -q --quiet
            ;;
    esac
}

_qorfp_selftest() {
    local _qorfp_current=${COMP_WORDS[COMP_CWORD]}
    _qorfp_words -v -h --help
}

complete -F _qorfp qorfp
complete -F _qorfp_synth qorfp-synth
complete -F _qorfp_selftest qorfp-selftest
