#!/bin/sh
# expect_report.sh TEXT PROGRAM ARGS...: the program must fail, and its output must contain TEXT.
text=$1
shift
output=$("$@" 2>&1) && { echo "ended with success: $output"; exit 1; }
printf '%s' "$output" | grep -q "$text" || { echo "did not report '$text': $output"; exit 1; }
