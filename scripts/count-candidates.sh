#!/usr/bin/env bash
# Candidate stars the extraction keeps on each image of the validation folder, under the automatic
# threshold and over the whole frame: each image runs through `tornel-cli 8 IMAGE` (extraction only)
# with a focal length that makes it 0.45 degree wide, inside the field that database 1 analyses whole.
# Usage: scripts/count-candidates.sh [BUILD] ; prints "image contours candidates note".
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-tests}
home=${TORNEL_HOME:-${XDG_DATA_HOME:-$HOME/.local/share}/tornel}
validation=${VALIDATION:-../shared/validation}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tail -n +2 "$validation/truth.csv" | while IFS=, read -r file _ _ width height _; do
    side=$((width > height ? width : height))
    scale=$(awk -v s="$side" 'BEGIN { printf "%.6f", 0.45 * 3600 / s }')
    focal=$(awk -v a="$scale" 'BEGIN { printf "%d", 206265 / a }')
    # Pairs of param.txt have their value on line 2k: 1 the job, 2 the focal length, 19 the automatic
    # threshold, 32 the mailbox (kept in the work folder), 49 and 50 the scale, 51 the database.
    awk -v f="$focal" -v a="$scale" -v m="$work/messages/" '
        NR == 2 || NR == 38 || NR == 102 { print "1\r"; next } NR == 4 { print f "\r"; next }
        NR == 64 { print m "\r"; next } NR == 98 || NR == 100 { print a "\r"; next } { print }' \
        "$home/param.txt" >"$work/param.txt"
    out=$(TORNEL_HOME=$work "$build/consola/tornel-cli" 8 "$validation/$file" 2>&1 || true)
    line=$(grep -o 'Extracted countours = [0-9-]* Candidate stars = [0-9-]*' <<<"$out" | tail -1 || true)
    note=$(grep -o '[A-Za-z]* > 10000\|Only [0-9]* [a-z ]*\.' <<<"$out" | tail -1 || true)
    threshold=$(grep -o 'Threshold brightness = [0-9-]*' <<<"$out" | tail -1 | grep -o '[0-9-]*$' || true)
    area=$(grep -o 'Analysing [a-z ]*' <<<"$out" | head -1 || true)
    printf '%-30s %s | threshold %s | %s %s\n' "$file" "${line:-no extraction}" "${threshold:--}" "$area" "$note"
done
