#!/bin/sh
# SPDX-License-Identifier: LGPL-3.0-or-later
# Stand-in for the updater console tool in tests. It behaves like the tool towards the front
# end, steered by the environment:
#   VRX_STANDIN_LOG    file to which every run appends its argument count, then one argument
#                      per line
#   VRX_STANDIN_EXIT   exit code (default 0)
#   VRX_STANDIN_CRASH  "1": die by a signal after the output
#   VRX_STANDIN_HOLD   seconds to wait before ending (keeps the tool busy)

if [ -n "$VRX_STANDIN_LOG" ]; then
    printf '%s\n' "$#" >>"$VRX_STANDIN_LOG"
    for arg in "$@"; do printf '%s\n' "$arg" >>"$VRX_STANDIN_LOG"; done
fi

echo "VRXUpdater stand-in, arguments: $*"

question=""
for arg in "$@"; do
    case "$arg" in
    --list | --list-detailed)
        echo "Found 2 device(s):"
        echo "Device 0: VRX14 SN 01234 (PCIe)"
        echo "Device 1: VRX7 SN 05678 (USB)"
        ;;
    -e | -eu | eu | eup | eupo)
        question="yes"
        ;;
    esac
done

if [ -n "$question" ]; then
    printf 'WARNING!: The flash of the device will be erased. Continue? (y/n)'
    read -r answer
    echo ""
    echo "Answer: $answer"
    if [ "$answer" != "y" ]; then
        echo "Aborted by user."
        exit 3
    fi
fi

for step in 0 50 100; do
    echo "Progress: $step%"
done

if [ -n "$VRX_STANDIN_HOLD" ]; then
    sleep "$VRX_STANDIN_HOLD"
fi
if [ "$VRX_STANDIN_CRASH" = "1" ]; then
    kill -SEGV $$
fi
exit "${VRX_STANDIN_EXIT:-0}"
