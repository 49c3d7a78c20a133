#!/usr/bin/env bash
# Runs the examples, with a sender and a receiver on this machine.
#
#   examples.sh PLUGIN_FOLDER EXAMPLES_FOLDER
set -euo pipefail
export GST_PLUGIN_PATH=$1
cd "$2"
output=$(mktemp)
trap 'rm -f "$output"' EXIT

expectLines() {
    local count
    count=$(grep -cE "$2" "$output" || true)
    [ "$count" -ge "$1" ] && return
    cat "$output" >&2
    echo "expected $1 lines with $2, found $count" >&2
    exit 1
}

timeout 60 ./telemetry.py --pictures 20 >"$output"
expectLines 19 '"picture": [0-9]+, "time": "20.*"longitude": 13.4'

port=$((20000 + $$ % 20000))
: >"$output"
timeout 60 ./latency.sh receive $port >>"$output" &
receiver=$!
for ((wait = 0; wait < 300; ++wait)); do
    grep -q "$(printf ':%04X ' $port)" /proc/net/udp && break
    sleep 0.1
done
PICTURES=100 timeout 60 ./latency.sh send 127.0.0.1 $port >>"$output"
kill $receiver
wait $receiver || true
expectLines 2 '^network to decoder: [0-9.]+ ms'
expectLines 3 '^camera to network: [0-9.]+ ms'
