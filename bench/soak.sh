#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-3.0-or-later
# Soak: the window, built with AddressSanitizer and UBSan, runs its monitor for MINUTES while
# the client kit's demo program and load generator join and leave it again and again. The
# window's anonymous resident memory is sampled every few seconds (the output file the viewer
# maps is the page cache's, not the window's); growth after the first minute, set against what
# the index needs for the lines written meanwhile, and any sanitizer report are what it looks
# for. Not part of CI: it takes minutes by design.
#
#   bench/soak.sh [MINUTES] [BUILD_DIR]     (defaults: 3, build-asan)
#
# The build comes from `make test-asan` (or cmake -DVRX_SANITIZE=ON). Everything runs with a
# HOME of its own, and, where the system allows it, in a network namespace of its own, so
# the monitor's port 55555 is free and no other monitor on this machine is disturbed.
set -euo pipefail

minutes=${1:-3}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${2:-$root/build-asan}
[[ $build = /* ]] || build=$root/$build
port=55555
sample_every=5          # seconds between memory samples
settle=60               # growth is measured from the first minute after this many seconds
span=60                 # ... to the last minute: means over a minute, as single samples jitter
# The most the index keeps per line (its end, and its CR/LF count where the line ends in CR LF;
# the monitor writes LF lines, so 4 of these 8) and per error or warning mark (its offset and
# its line), in bytes.
index_bytes_per_line=8
index_bytes_per_mark=8

# A private loopback: the port is ours and the load cannot reach anything else.
if [[ -z ${VRX_SOAK_NETNS:-} ]] && command -v unshare >/dev/null &&
    unshare --net true 2>/dev/null; then
    exec env VRX_SOAK_NETNS=1 unshare --net bash -c \
        'ip link set lo up 2>/dev/null || true; exec "$0" "$@"' "$0" "$minutes" "$build"
fi

app=$build/vrxassist
demo=$build/tools/clientkit/vrxdemo
loadgen=$build/tools/clientkit/vrxloadgen
for program in "$app" "$demo" "$loadgen"; do
    if [[ ! -x $program ]]; then
        echo "soak: $program is missing; build it first (make test-asan)" >&2
        exit 2
    fi
done

port_busy() { (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; }
if [[ -z ${VRX_SOAK_NETNS:-} ]] && port_busy; then
    # The window would take the port over from whoever has it: not done to someone else.
    echo "soak: 127.0.0.1:$port is in use and no private network namespace is available" >&2
    exit 2
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/vrxsoak-XXXXXX")
home=$work/home
mkdir -p "$home/.config/OKAV" "$home/.local/share" "$home/.cache" "$home/runtime"
chmod 700 "$home/runtime"
# The monitor starts with the window (the start-up option of the monitor panel).
cat >"$home/.config/OKAV/vrxassist.conf" <<'EOF'
[VRXMonitorStartupOption]
StartupOption=true
EOF

export HOME=$home XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share
export XDG_CACHE_HOME=$home/.cache XDG_RUNTIME_DIR=$home/runtime
export QT_QPA_PLATFORM=offscreen
# Reports are counted at the end rather than ending the run; leaks are not looked for here
# (the window is stopped with a signal, so LeakSanitizer never runs).
# ASan holds freed memory back (256 MB by default) to catch later use of it; that counts in
# the resident size until it is full and would read as growth over a few minutes, so a
# smaller quarantine keeps the samples about the window's own memory.
export ASAN_OPTIONS=detect_leaks=0:halt_on_error=0:abort_on_error=0:quarantine_size_mb=16
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=0

app_pid=
client_pids=()
cleanup() {
    for pid in "${client_pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    if [[ -n $app_pid ]] && kill -0 "$app_pid" 2>/dev/null; then
        kill "$app_pid" 2>/dev/null || true
        for _ in $(seq 50); do kill -0 "$app_pid" 2>/dev/null || break; sleep 0.2; done
        kill -9 "$app_pid" 2>/dev/null || true
    fi
}
trap cleanup EXIT

"$app" >"$work/app.out" 2>"$work/app.err" &
app_pid=$!
start=$(date +%s)
for _ in $(seq 120); do
    port_busy && break
    kill -0 "$app_pid" 2>/dev/null || { echo "soak: the window ended at start" >&2; exit 1; }
    sleep 0.5
done
port_busy || { echo "soak: the monitor did not start listening on $port" >&2; exit 1; }

rss_kb() { awk '/^RssAnon:/ { print $2 }' "/proc/$app_pid/status" 2>/dev/null || echo 0; }
outputs=$home/.local/share/OKAV
# Lines and error/warning marks in the monitor's output files so far.
output_lines() { cat "$outputs"/*.okv 2>/dev/null | wc -l; }
output_marks() { cat "$outputs"/*.okv 2>/dev/null | grep -oE 'ERROR:|WARN :' | wc -l; }

deadline=$((start + minutes * 60))
rounds=0 demo_runs=0 loadgen_runs=0 failed=0
peak=0 last=0
next_sample=$start
: >"$work/rss.log"

sample() {
    local now elapsed
    now=$(date +%s)
    ((now >= next_sample)) || return 0
    next_sample=$((now + sample_every))
    elapsed=$((now - start))
    last=$(rss_kb)
    ((last > peak)) && peak=$last
    echo "$elapsed $last $(output_lines) $(output_marks)" >>"$work/rss.log"
}

while (($(date +%s) < deadline)); do
    kill -0 "$app_pid" 2>/dev/null || { echo "soak: the window ended during the run" >&2; break; }
    ((++rounds))
    client_pids=()
    # Two demo programs plot live memory; one is dropped mid-run, as a crashing client would.
    "$demo" --port "$port" --iterations 40 --interval-ms 20 --samples 8192 \
        >>"$work/demo.out" 2>&1 &
    client_pids+=($!)
    "$demo" --port "$port" --interval-ms 10 --ramp >>"$work/demo.out" 2>&1 &
    dropped=$!
    client_pids+=("$dropped")
    # A steady load the window keeps up with: a flood it cannot keep up with piles up in
    # memory by design (the monitor acknowledges lines before the log takes them), which is
    # not what a soak looks for.
    if ! "$loadgen" --port "$port" --clients 3 --lines 400 >>"$work/loadgen.out" 2>&1; then
        ((++failed))
    fi
    ((++loadgen_runs))
    kill -9 "$dropped" 2>/dev/null || true
    wait "$dropped" 2>/dev/null || true
    if ! wait "${client_pids[0]}"; then
        ((++failed))
    fi
    demo_runs=$((demo_runs + 2))
    client_pids=()
    sample
    sleep 1
done
sample
alive=yes
kill -0 "$app_pid" 2>/dev/null || alive=no
cleanup
app_pid=

reports=$(grep -cE "ERROR: AddressSanitizer|runtime error|ERROR: LeakSanitizer" "$work/app.err" || true)
# Means of memory, lines and marks over the first minute after settling and over the last one.
read -r from_at baseline baseline_lines baseline_marks to_at last end_lines end_marks < <(
    awk -v settle="$settle" -v span="$span" '
        { t[NR] = $1; r[NR] = $2; l[NR] = $3; m[NR] = $4; end = $1 }
        END {
            if (end < settle + 2 * span) settle = 0 # a short run: from its start
            for (i = 1; i <= NR; ++i) {
                if (t[i] >= settle && t[i] < settle + span) {
                    ++a; at += t[i]; ar += r[i]; al += l[i]; am += m[i]
                }
                if (t[i] > end - span) { ++b; bt += t[i]; br += r[i]; bl += l[i]; bm += m[i] }
            }
            if (!a || !b) { print "0 0 0 0 0 0 0 0"; exit }
            printf "%d %d %d %d %d %d %d %d\n", at / a, ar / a, al / a, am / a,
                bt / b, br / b, bl / b, bm / b
        }' "$work/rss.log")
growth=$((last - baseline))
lines=$((end_lines - baseline_lines)) marks=$((end_marks - baseline_marks))
need=$(((lines * index_bytes_per_line + marks * index_bytes_per_mark + 1023) / 1024))
# The sanitizers' own bookkeeping (the quarantine of freed blocks, shadow memory) grows with
# it, so a sanitized build is judged by its reports; its growth is shown all the same.
sanitized=no judged=
if grep -q '^VRX_SANITIZE:BOOL=ON' "$build/CMakeCache.txt" 2>/dev/null; then
    sanitized=yes judged=" (not judged: sanitized build)"
fi
verdict=PASS
[[ $sanitized == yes ]] || ((growth <= need)) || verdict=FAIL
((reports == 0)) || verdict=FAIL
((failed == 0)) || verdict=FAIL
[[ $alive == yes ]] || verdict=FAIL

echo "soak: ${minutes} min, $rounds rounds ($demo_runs demo runs, $loadgen_runs load runs," \
    "$failed failed), anonymous RSS ${baseline} kB around ${from_at} s -> ${last} kB around" \
    "${to_at} s (peak ${peak} kB): growth ${growth} kB; the index needs at most ${need} kB" \
    "for the $lines lines ($marks marks) written meanwhile$judged; sanitizer reports $reports," \
    "window alive $alive: $verdict"
echo "soak: logs in $work"
[[ $verdict == PASS ]]
