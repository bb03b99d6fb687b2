# Completion of harkctl's command line in bash: `source` it, or install it as
# /usr/share/bash-completion/completions/harkctl. Needs nothing but bash.

# The words as a person sees them, up to the cursor. Bash cuts them at each character of COMP_WORDBREAKS, a colon and an
# equals sign among them: what stands together in the line belongs together.
_harkctl_words() {
    local rest=${COMP_LINE:0:COMP_POINT} i word blanks
    words=()
    for ((i = 0; i <= COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        blanks=${rest%%[![:blank:]]*}
        rest=${rest#"$blanks"}
        # The cursor may stand inside a word.
        [[ $rest == "$word"* ]] || word=$rest
        rest=${rest#"$word"}
        if ((i > 0)) && [[ -z $blanks ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
}

# What the shell would make of a word that is being typed: without its quotes and backslashes.
_harkctl_unquoted() {
    local text=$1
    case $text in
        \"*) text=${text#\"} text=${text%\"} ;;
        \'*) text=${text#\'} text=${text%\'} ;;
    esac
    printf '%s' "${text//\\/}"
}

# The global options that stand in front of the cursor, so that the right station is asked.
_harkctl_station() {
    local i
    station=()
    for ((i = 1; i < ${#words[@]} - 1; ++i)); do
        case ${words[i]} in
            --station=*) station=("${words[i]}") ;;
            --station) station=(--station "$(_harkctl_unquoted "${words[i + 1]}")") ;;
        esac
    done
}

# Names and addresses that harkctl knows.
_harkctl_urls() {
    local -a station
    local url
    _harkctl_station
    while IFS= read -r url; do
        # Inside quotes bash takes a text as it is.
        [[ $current == [\"\']* ]] || printf -v url '%q' "$url"
        COMPREPLY+=("$url")
    done < <("${words[0]/#\~/$HOME}" "${station[@]}" complete urls -- "$(_harkctl_unquoted "$current")" 2>/dev/null)
    # Bash puts an answer behind the last colon of an unquoted word.
    if [[ $current == *:* && $current != [\"\']* && $COMP_WORDBREAKS == *:* ]]; then
        COMPREPLY=("${COMPREPLY[@]#"${current%"${current##*:}"}"}")
    fi
}

_harkctl_settings() {
    [[ $current == *=* ]] && return
    local -u typed=$current
    mapfile -t COMPREPLY < <(compgen -S = -W 'LABL TRGL TRGLA DROPFLASH DIML LATCH EXTC AANS' -- "$typed")
    compopt -o nospace 2>/dev/null
}

# The command that stands in front of the cursor, and how many words of its own follow it.
_harkctl_command() {
    local i
    command='' count=0
    for ((i = 1; i < ${#words[@]} - 1; ++i)); do
        case ${words[i]} in
            --station | --timeout | --sip | --duration) ((++i)) ;;
            -*) ;;
            *) if [[ -z $command ]]; then command=${words[i]}; else ((++count)); fi ;;
        esac
    done
}

_harkctl() {
    local -a words
    local command count current previous options='--station --timeout --json --help' choices=''
    COMPREPLY=()
    _harkctl_words
    current=${words[-1]}
    previous=${words[-2]:-}
    case $previous in
        --station | --timeout | --sip | --duration) return ;;
    esac
    _harkctl_command
    case $command in
        '') choices='status calls watch call drop gpio set panels health' ;;
        call | drop) options+=' --listen --talk' ;;
        gpio)
            options+=' --duration'
            ((count == 0)) && choices='GPI GPO'
            ((count == 1)) && choices='1 2 3 4 5 6 7 8 9'
            ;;
        health) options+=' --sip' ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [[ $command == call || $command == drop ]]; then
        ((count == 0)) && _harkctl_urls
    elif [[ $command == set ]]; then
        _harkctl_settings
    else
        mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
    fi
}

complete -F _harkctl harkctl
