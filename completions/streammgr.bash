# Completion of StreamMgrCli, StreamMgr and d2b for bash. It only reads; where there is nothing to
# complete it is silent, and it waits for each program that it runs a second at most.
# shellcheck shell=bash

_streammgr_run() {
    timeout 1 "$@" 2>/dev/null </dev/null
}

# What `d2b list` prints. The recorder of the package's service is shown to the technicians that may see
# it: sudo asks nobody else.
_streammgr_list() {
    local -a as_service=()
    if [[ ! ${STREAMMGR_ROOT-} && $* != *--pool* && $* != *--db* && -e /usr/share/streammgr/environment &&
        " $(id -nG) " == *" streammgr-technicians "* ]]; then
        as_service=(sudo -n -u streammgr)
    fi
    _streammgr_run "${as_service[@]}" d2b list "$@"
}

# The stream files of the pool, of the recorder or of another: [--pool IMAGE]
_streammgr_numbers() {
    _streammgr_list "$@" | awk 'NR > 1 {print $1}'
}

# Identifiers of events or of recordings: events|recordings [--db DATABASE]
_streammgr_reids() {
    _streammgr_list "$@" | awk 'NR > 1 && $1 ~ /:/ {print $1}'
}

# The options in a help text: PROGRAM [VERB]
_streammgr_options() {
    _streammgr_run "$@" --help | sed -nE 's/^ {2,4}(-[^ ]+).*/\1/p' | tr ',' '\n'
}

# Those of them that are followed by an argument.
_streammgr_options_with_argument() {
    _streammgr_run "$@" --help | sed -nE '/ Excludes: /d; s/^ {2,4}(-[^ ]+) [^ ].*/\1/p' | tr ',' '\n'
}

# Sets words, cur and prev. The line is split at blanks only: a REID with its colon is one word.
_streammgr_split() {
    local line=${COMP_LINE:0:COMP_POINT}
    read -ra words <<<"$line"
    [[ $line != *[[:blank:]] ]] || words+=("")
    cur=${words[-1]}
    prev=${words[-2]}
    if [[ $cur == --*=* ]]; then
        prev=${cur%%=*}
        cur=${cur#*=}
    fi
}

# Offers the lines of standard input that begin with what was typed. Readline replaces only what
# follows the last colon.
_streammgr_offer() {
    local word typed=
    [[ $COMP_WORDBREAKS != *:* || $cur != *:* ]] || typed=${cur%:*}:
    while IFS= read -r word; do
        [[ $word != "$cur"* ]] || COMPREPLY+=("${word#"$typed"}")
    done
}

# Offers the lines of standard input as the next one of a list with commas.
_streammgr_offer_list() {
    local begin=
    [[ $cur != *,* ]] || begin=${cur%,*},
    compopt -o nospace
    _streammgr_offer < <(sed "s/^/$begin/")
}

# The files on the hard disk that -y can write over a stream file, as NUMBER,NAME.
_streammgr_sources() {
    local file
    for file in "${STREAMMGR_HD:-/mnt/hd}"/*.ts; do
        file=${file##*/}
        [[ $file == '*.ts' ]] || echo "${cur%%,*},${file%.ts}"
    done
}

_streammgr_StreamMgrCli() {
    local cur prev
    local -a words
    COMPREPLY=()
    _streammgr_split
    case $prev in
    -x | --extract | -X | --extractunbounded | -Y | --insertunbounded)
        _streammgr_offer < <(_streammgr_numbers)
        ;;
    --stats)
        _streammgr_offer < <(_streammgr_numbers | sed '1i 0')
        ;;
    --tickinfo)
        _streammgr_offer < <(_streammgr_numbers | sed '1i 0' | sed 'p; s/$/,m/')
        ;;
    --multiextract | --multiread)
        _streammgr_offer_list < <(_streammgr_numbers)
        ;;
    -e | --editandextract)
        compopt -o nospace
        _streammgr_offer < <(_streammgr_numbers | sed 's/$/,/')
        ;;
    -y | --insertboundedbyname)
        if [[ $cur == *,* ]]; then
            _streammgr_offer < <(_streammgr_sources)
        else
            compopt -o nospace
            _streammgr_offer < <(_streammgr_numbers | sed 's/$/,/')
        fi
        ;;
    -f | --filechain | -F | --FILECHAIN | -s | --setloglevel)
        _streammgr_offer < <(seq 0 3)
        ;;
    -d | --delete)
        _streammgr_offer < <(_streammgr_reids events)
        ;;
    --split)
        compopt -o nospace
        _streammgr_offer < <(_streammgr_reids events | sed 's/$/,/')
        ;;
    --bkupdb)
        compopt -o default
        ;;
    --ratf) ;;
    *)
        _streammgr_offer < <(tr ' ' '\n' <<<"-h --help --usage -p --ping -q --quit -r --reaper \
-i --info -l --loglevel -c --connect -f --filechain -F --FILECHAIN -d --delete -s --setloglevel \
-x --extract -e --editandextract -X --extractunbounded -y --insertboundedbyname \
-Y --insertunbounded --ratf --bkupdb --lsm --lsmi --listsharedmem --lproc --listprocesses \
--multiextract --multiread --split --stats --tickinfo -S --Storage")
        ;;
    esac
}

_streammgr_StreamMgr() {
    local cur prev
    local -a words
    COMPREPLY=()
    _streammgr_split
    if [[ $prev == --config ]]; then
        compopt -o default
    elif [[ $prev != --record ]]; then
        _streammgr_offer < <(_streammgr_options StreamMgr)
    elif [[ $cur == *=* ]]; then
        compopt -o default
    else
        compopt -o nospace
        _streammgr_offer < <(printf '%s=\n' 1 2 3 4)
    fi
}

# The words before the cursor that are no options and no arguments of options, the verb left out.
_streammgr_operands() {
    local word is_argument=
    local -A takes_argument=()
    for word in $with_argument; do
        takes_argument[$word]=1
    done
    for word in "${words[@]:2:${#words[@]}-3}"; do
        if [[ $is_argument ]]; then
            is_argument=
        elif [[ $word == -* ]]; then
            is_argument=${takes_argument[$word]-}
        else
            echo "$word"
        fi
    done
}

# --pool and --db of the command line, for what is listed.
_streammgr_places() {
    local i
    for ((i = 2; i < ${#words[@]} - 2; ++i)); do
        case ${words[i]} in
        --pool | --db) places+=("${words[i]}" "${words[i + 1]/#\~\//"$HOME/"}") ;;
        esac
    done
}

_streammgr_d2b_operand() {
    local -i before
    before=$(_streammgr_operands | wc -l)
    case $verb:$before in
    load:0 | set:0 | scan:* | plot:1)
        _streammgr_offer < <(_streammgr_numbers "${places[@]}")
        ;;
    list:0)
        _streammgr_offer < <(printf '%s\n' slots streams events recordings)
        ;;
    plot:0)
        _streammgr_offer < <(printf '%s\n' timeline clock)
        ;;
    export:0)
        _streammgr_offer < <(_streammgr_reids events "${places[@]}")
        _streammgr_offer < <(_streammgr_reids recordings "${places[@]}")
        ;;
    load:1 | tick:[01] | verify:0)
        compopt -o default
        ;;
    esac
}

_streammgr_d2b() {
    local cur prev verb with_argument
    local -a words places=()
    COMPREPLY=()
    _streammgr_split
    verb=${words[1]}
    if ((${#words[@]} == 2)); then
        _streammgr_offer < <(
            _streammgr_run d2b --help | sed -nE '/^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p'
            _streammgr_options d2b
        )
        return
    fi
    _streammgr_places
    case $prev in
    --pool | --db | --map | -o)
        compopt -o default
        ;;
    --db-match)
        _streammgr_offer < <(printf '%s\n' true false)
        ;;
    --stream)
        _streammgr_offer < <(seq 4)
        ;;
    --controller)
        _streammgr_offer < <(seq 0 7)
        ;;
    --slots)
        _streammgr_offer_list < <(_streammgr_numbers "${places[@]}")
        ;;
    *)
        if [[ $cur == -* ]]; then
            _streammgr_offer < <(_streammgr_options d2b "$verb")
        else
            with_argument=$(_streammgr_options_with_argument d2b "$verb")
            grep -qxFe "$prev" <<<"$with_argument" || _streammgr_d2b_operand
        fi
        ;;
    esac
}

complete -F _streammgr_StreamMgrCli StreamMgrCli
complete -F _streammgr_StreamMgr StreamMgr
complete -F _streammgr_d2b d2b
