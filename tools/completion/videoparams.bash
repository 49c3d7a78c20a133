# Completion of videoparams(1) for bash.

_videoparams() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local word command="" words=""

    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case "$command $word" in
        " info" | " units" | " params" | " check" | " inspect" | " fix" | " userdata") command=$word ;;
        "userdata add" | "userdata get" | "userdata list" | "userdata remove") command="userdata $word" ;;
        esac
    done

    case $previous in
    --codec) words="h264 h265" ;;
    --where) words="first all key" ;;
    --timestamp) words="utc monotonic pts" ;;
    --text | --uuid) return ;;
    --plot | --data | --page | --params | -o | --output)
        compopt -o default
        return
        ;;
    *)
        case $command in
        "") words="info units params check inspect fix userdata --help --version" ;;
        info) words="--codec --stream --params --units --json --plot --force --help" ;;
        units) words="--codec --stream --params --json --help" ;;
        params) words="--codec --stream --json --output --force --help" ;;
        check) words="--codec --stream --params --json --help" ;;
        inspect) words="--codec --stream --params --no-open --page --output --force --help" ;;
        fix) words="--codec --stream --params --json --output --force --help" ;;
        userdata) words="add get list remove --help" ;;
        "userdata add") words="--codec --stream --params --text --data --timestamp --where --replace --json --output --force --help" ;;
        "userdata get") words="--codec --stream --params --json --raw --output --force --help" ;;
        "userdata list") words="--codec --stream --params --json --help" ;;
        "userdata remove") words="--codec --stream --all --uuid --json --output --force --help" ;;
        esac
        # After a command comes a file, unless the word begins like an option.
        if [[ $command != "" && $command != userdata && $current != -* ]]; then
            compopt -o default
            return
        fi
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _videoparams videoparams
