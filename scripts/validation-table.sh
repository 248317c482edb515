#!/usr/bin/env bash
# The table of the validation images that the README shows: every image through both roads, around a
# position a degree from the truth with database 1 and with no position with database 2, by the
# end-to-end solve benchmark. Usage: scripts/validation-table.sh [BUILD] (default build); TORNEL_HOME
# is the program folder of `tornel-db default`.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build}")
home=${TORNEL_HOME:?set TORNEL_HOME to the program folder of tornel-db default}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Outputs of earlier runs may be given instead (POSITION=file BLIND=file).
if [ -n "${POSITION:-}" ] && [ -n "${BLIND:-}" ]; then
    cp "$POSITION" "$work/position" && cp "$BLIND" "$work/blind"
else
    "$build/bench/tornel-solve-fields" validation --all --home "$home" --tools "$build" >"$work/position"
    "$build/bench/tornel-solve-fields" validation --all --blind --home "$home" --tools "$build" >"$work/blind"
fi
echo "| Image | Field (degrees) | Candidates (position / blind) | Around a position (database 1) | No position (database 2) |"
echo "|---|---|---|---|---|"
# Each line: image | fov | candidates | exit sides | centre_px angle_deg seconds | matched/tested chance odds
awk -F' [|] ' '
function cell(exit_sides, numbers, check,    e, n, c) {
    split(exit_sides, e, " "); split(numbers, n, " "); split(check, c, " ")
    ms = sprintf("%d ms", n[3] * 1000 + 0.5)
    if (e[1] != 0) return "not solved, " ms
    return sprintf("solved, %d sides, %s (%s by chance), 10^%s, %s px, %s", e[2], c[1], c[2], c[3], n[1], ms)
}
FNR == 1 { next }
NR == FNR { fov[$1] = $2; cand[$1] = $3; pos[$1] = cell($4, $5, $6); order[++count] = $1; next }
{ printf "| `%s` | %s | %s / %s | %s | %s |\n", $1, fov[$1] == "" ? "?" : fov[$1], cand[$1], $3, pos[$1], cell($4, $5, $6) }
' "$work/position" "$work/blind"
