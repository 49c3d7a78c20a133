# For .ci/run, to be sourced: runs steps, as many at a time as there are processors, and prints each one's output when it ends.

. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

StepTimeLimit=1800  # seconds, for what hangs
stepLogs=$buildRoot/steps
declare -A runningSteps=()  # names, by process
stepNames=()
lastStep=  # the name of the step that is printed last
failedSteps=()
mkdir -p "$stepLogs"
rm -f "$stepLogs"/*
set -m  # each step is a process group, so that an interruption ends all of it
trap 'for process in "${!runningSteps[@]}"; do kill -- "-$process"; done 2>/dev/null; exit 130' INT TERM

# step NAME COMMAND...: starts a step when a place is free. It may need nothing from another step.
step() {
    local name=$1
    shift
    [ ${#runningSteps[@]} -lt "$cores" ] || awaitStep
    stepNames+=("$name")
    {
        TIMEFORMAT='%0R %0U %0S'
        { time timeout --kill-after=10 "$StepTimeLimit" "$@" </dev/null >"$stepLogs/$name" 2>&1; } 2>"$stepLogs/$name.time"
    } &
    runningSteps[$!]=$name
}

# Waits for the step that ends next, and prints it unless it is the last one.
awaitStep() {
    local process status=0 name verdict=passed
    wait -n -p process "${!runningSteps[@]}" || status=$?
    name=${runningSteps[$process]}
    unset "runningSteps[$process]"
    if [ $status != 0 ]; then
        failedSteps+=("$name")
        verdict=FAILED
        [ $status != 124 ] || verdict="FAILED, not ready after $StepTimeLimit s,"
    fi
    [ "$name" = "$lastStep" ] && lastVerdict=$verdict || showStep "$name" "$verdict"
}

showStep() {
    local name=$1 verdict=$2 real user system
    read -r real user system < <(tail -n 1 "$stepLogs/$name.time")
    echo "== $name: $verdict in $real s ($((user + system)) s of processor time)"
    cat "$stepLogs/$name"
}

# Waits for all steps, and prints the names of those that failed, and then the last one. Fails if one did.
finishSteps() {
    while [ ${#runningSteps[@]} -gt 0 ]; do
        awaitStep
    done
    awk -v steps=${#stepNames[@]} '{ sum += $2 + $3 } END { print steps " steps, " sum " s of processor time" }' \
        "$stepLogs"/*.time
    [ ${#failedSteps[@]} = 0 ] || printf 'failed: %s\n' "${failedSteps[@]}"
    [ -z "$lastStep" ] || showStep "$lastStep" "$lastVerdict"
    [ ${#failedSteps[@]} = 0 ]
}
