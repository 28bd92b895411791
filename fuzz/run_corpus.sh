#!/usr/bin/env bash
# run_corpus.sh FUZZER FOLDER: runs the fuzzer once over an empty input and over every file of the
# folder. Fails when the fuzzer reports fewer inputs than it was given.
set -euo pipefail
empty=$(mktemp)
trap 'rm -f "$empty" "$empty.log"' EXIT
inputs=("$empty" "$2"/*)
# -timeout=0: the watchdog of TORVELSI_TEST_LIMIT ends a fuzzer that hangs and writes the stacks of
# its threads.
"$1" -timeout=0 "${inputs[@]}" >"$empty.log" 2>&1 || { cat "$empty.log"; exit 1; }
executed=$(grep -c '^Executed ' "$empty.log") || true
[ "$executed" -eq ${#inputs[@]} ] ||
    { cat "$empty.log"; echo "executed $executed of ${#inputs[@]} inputs"; exit 1; }
echo "$executed inputs passed"
