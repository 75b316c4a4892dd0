#compdef StreamMgrCli StreamMgr d2b
# Completion of StreamMgrCli, StreamMgr and d2b for zsh. It only reads; where there is nothing to
# complete it is silent, and it waits for each program that it runs a second at most.

_streammgr_run() {
    timeout 1 "$@" 2>/dev/null </dev/null
}

# --pool and --db of the command line, for what is listed. The recorder of the package's service is shown
# to the technicians that may see it: sudo asks nobody else.
_streammgr_list() {
    local option
    local -a places as_service
    for option in --pool --db; do
        [[ -z ${opt_args[$option]} ]] || places+=($option ${~opt_args[$option]})
    done
    if [[ -z $STREAMMGR_ROOT && -z $places && -e /usr/share/streammgr/environment &&
        " $(id -nG) " == *" streammgr-technicians "* ]]; then
        as_service=(sudo -n -u streammgr)
    fi
    _streammgr_run $as_service d2b list "$@" $places
}

_streammgr_numbers() {
    local -a numbers=(${(f)"$(_streammgr_list slots | awk 'NR > 1 {print $1}')"})
    compadd "$@" -a numbers
}

# "0 for all"
_streammgr_numbers_or_all() {
    compadd "$@" 0
    _streammgr_numbers "$@"
}

_streammgr_list_of_numbers() {
    _sequence _streammgr_numbers
}

_streammgr_tickinfo() {
    compset -P '*,' && compadd "$@" m || _streammgr_numbers_or_all -S '' "$@"
}

_streammgr_edit() {
    compset -P '*,' || _streammgr_numbers -S , "$@"
}

# NUMBER,NAME with the files on the hard disk that -y can write over a stream file.
_streammgr_insert() {
    local -a sources=(${STREAMMGR_HD:-/mnt/hd}/*.ts(N:t:r))
    compset -P '*,' && compadd "$@" -a sources || _streammgr_numbers -S , "$@"
}

# _streammgr_reids "events recordings" [OPTION OF COMPADD]...
_streammgr_reids() {
    local -a reids
    local kind
    for kind in ${=1}; do
        reids+=(${(f)"$(_streammgr_list $kind | awk 'NR > 1 && $1 ~ /:/ {print $1}')"})
    done
    shift
    compadd "$@" -a reids
}

_streammgr_events() {
    _streammgr_reids events "$@"
}

_streammgr_events_and_recordings() {
    _streammgr_reids "events recordings" "$@"
}

_streammgr_split() {
    compset -P '*,' || _streammgr_reids events -S , "$@"
}

_streammgr_record() {
    compset -P '[1-4]=' && _files "$@" || compadd "$@" -S = 1 2 3 4
}

_streammgr_StreamMgrCli() {
    _arguments \
        '*'{-h,--help,--usage}'[show the usage text]' \
        '*'{-p,--ping}'[check that the service can be reached]' \
        '*'{-i,--info}'[let the service log its state]' \
        '*'{-S,--Storage}'[let the service log the use of its storage]' \
        '*'{-r,--reaper}'[let the service clean up]' \
        '*'{-q,--quit}'[let the service quit]' \
        '*'{-l,--loglevel}'[change the log level of the service with a menu]' \
        '*'{-s+,--setloglevel=}'[change the log level of the service]:level:((0\:nothing 1\:"errors and notifications" 2\:notes 3\:everything))' \
        '*'{-c,--connect}'[log recordings and storage as they change]' \
        '*--ratf=[create an event from what is already recorded]:start,stop[,c|,r]: ' \
        '*'{-d+,--delete=}'[delete an event]:REID:_streammgr_events' \
        '*--split=[split an event]:REID,size:_streammgr_split' \
        '*--bkupdb=[back up the event database]:full path:_files' \
        '*'{-f+,--filechain=}'[let the service log the files of a stream]:stream, from 0:(0 1 2 3)' \
        '*'{-F+,--FILECHAIN=}'[the same without wiped files]:stream, from 0:(0 1 2 3)' \
        '*'{-x+,--extract=}'[copy the data of a stream file to the hard disk]:stream file:_streammgr_numbers' \
        '*'{-X+,--extractunbounded=}'[copy a whole slot to the hard disk]:stream file:_streammgr_numbers' \
        '*'{-e+,--editandextract=}'[copy a stream file without a range of ticks]:number,first-last:_streammgr_edit' \
        '*'{-y+,--insertboundedbyname=}'[write a file over a stream file]:number,name:_streammgr_insert' \
        '*'{-Y+,--insertunbounded=}'[write a file over a whole slot]:stream file:_streammgr_numbers' \
        '*--multiextract=[copy several stream files]:stream files:_streammgr_list_of_numbers' \
        '*--multiread=[read several stream files]:stream files:_streammgr_list_of_numbers' \
        '*--stats=[show the ranges of ticks]:stream file, 0 for all:_streammgr_numbers_or_all' \
        '*--tickinfo=[show all ticks]:stream file[,m], 0 for all:_streammgr_tickinfo' \
        '*'{--lsm,--listsharedmem}'[list the stream files]' \
        '*--lsmi[list the stream files that are not at rest]' \
        '*'{--lproc,--listprocesses}'[list the processes that use the pool]'
}

# What completes the argument of an option.
_streammgr_action() {
    case $1 in
    --pool | --db | --map | --config | -o) REPLY=file:_files ;;
    --record) REPLY=source:_streammgr_record ;;
    --db-match) REPLY='known:(true false)' ;;
    --stream) REPLY='stream:(1 2 3 4)' ;;
    --controller) REPLY='controller:(0 1 2 3 4 5 6 7)' ;;
    --slots) REPLY=slots:_streammgr_list_of_numbers ;;
    *) REPLY='value: ' ;;
    esac
}

# Sets `specs` to the options in a help text, as _arguments takes them: PROGRAM [VERB]
_streammgr_options() {
    local line name option text repeats REPLY
    specs=()
    for line in ${(f)"$(_streammgr_run "$@" --help | awk '
        # An option that is too long for its column has its text on the next line.
        /^ ? ? ? ?-/ || /^[^ ]/ || /^$/ {print held; held = ""}
        /^ ? ? ? ?-/ {held = $0; next}
        held != "" {sub(/^ +/, "  "); held = held $0}
        END {print held}')"}; do
        name=${${=line}[1]}
        text=${${line##* $name}##*  }
        text=${text//(#m)[\[\]:\\]/\\$MATCH}
        repeats=
        [[ $line != *' ... '* ]] || repeats='*'
        for option in ${(s:,:)name}; do
            if [[ $line == *" $name "[^\ ]* && $line != *' Excludes: '* ]]; then
                _streammgr_action $option
                [[ $option == --* ]] && option+='='
                specs+=("$repeats$option""[$text]:$REPLY")
            else
                specs+=("$option""[$text]")
            fi
        done
    done
}

_streammgr_StreamMgr() {
    local -a specs
    _streammgr_options StreamMgr
    _arguments $specs
}

_streammgr_d2b_verb() {
    local -a specs
    local verb=$words[1]
    _streammgr_options d2b $verb
    case $verb in
    load) specs+=(:number:_streammgr_numbers :file:_files) ;;
    set) specs+=(:number:_streammgr_numbers) ;;
    tick) specs+=(:in:_files :out:_files) ;;
    list) specs+=(':what:(slots streams events recordings)') ;;
    plot) specs+=(':what:(timeline clock)' :slot:_streammgr_numbers) ;;
    scan) specs+=('*:slot:_streammgr_numbers') ;;
    export) specs+=(:REID:_streammgr_events_and_recordings) ;;
    verify) specs+=(':manifest:_files -g "*.json"') ;;
    esac
    _arguments $specs
}

_streammgr_d2b() {
    local context state state_descr line
    local -A opt_args
    local -a specs verbs
    _streammgr_options d2b
    _arguments -C $specs ':verb:->verb' '*:: :->rest'
    case $state in
    verb)
        verbs=(${(f)"$(_streammgr_run d2b --help |
            sed -nE '/^Subcommands:/,/^$/s/^  ([a-z]+) +/\1:/p')"})
        _describe verb verbs
        ;;
    rest) _streammgr_d2b_verb ;;
    esac
}

setopt localoptions extendedglob
local -A opt_args
_streammgr_$service "$@"
