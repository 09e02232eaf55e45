#!/usr/bin/env bash
# Counts how often each thread of a reading application wakes up while a wall is open: starts
# the local access service, opens a locked article with `quillgate read`, lets the wall
# settle, then reads every thread's context switches (voluntary: it slept and was woken;
# involuntary: preempted) over a window of real time.
#
#   scripts/wakeups.sh [SECONDS]     # default 60; binaries from build/dev/bin
set -euo pipefail

window=${1:-60}
bin=${QUILLGATE_BIN:-build/dev/bin/quillgate}
base=$((20000 + RANDOM % 20000))
api=$base web=$((base + 1)) collect=$((base + 2))
state=$(mktemp -d)
cleanup() {
    kill "${reader:-}" "${server:-}" 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$state"
}
trap cleanup EXIT

"$bin" serve --api-port "$api" --web-port "$web" --collect-port "$collect" --quiet >/dev/null &
server=$!
for _ in $(seq 50); do
    curl -s -o /dev/null "http://127.0.0.1:$api/" && break
    sleep 0.1
done

"$bin" read --client-id quillgate-demo --content-id premium-3a \
    --api-base "http://127.0.0.1:$api/api/v1" --web-base "http://127.0.0.1:$web/" \
    --collect-url "http://127.0.0.1:$collect/collect/event" \
    --font-web-base "http://127.0.0.1:$web/fonts/" \
    --font-repo-base "http://127.0.0.1:$collect/repo/" \
    --state-dir "$state" --run-for $((window + 15)) >"$state/transcript" &
reader=$!
sleep 8  # the article's requests are done and the wall is up

snapshot() {
    for task in /proc/"$reader"/task/*; do
        printf '%s %s %s %s\n' "$(basename "$task")" "$(tr ' ' _ <"$task/comm")" \
            "$(awk '/^voluntary_ctxt_switches/ {print $2}' "$task/status")" \
            "$(awk '/^nonvoluntary_ctxt_switches/ {print $2}' "$task/status")"
    done
}
snapshot >"$state/before"
sleep "$window"
snapshot >"$state/after"

echo "wake-ups over ${window} s of real time, with the wall open:"
join "$state/before" "$state/after" | awk '{
    v = $6 - $3; n = $7 - $4; total += v
    printf "  thread %-16s %6d voluntary %6d involuntary\n", $2, v, n
} END { printf "  all threads      %6d voluntary\n", total }'
