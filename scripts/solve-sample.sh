#!/usr/bin/env bash
# A first solve: renders a field of the Pleiades from the Tycho-2 list that `tornel-db default`
# fetched, at the scale and angle of the default parameters, and solves it with tornel-cli around a
# position a degree away. The solve runs in a program folder of its own (build/sample/home) whose
# parameters are the user's with the automatic threshold and database 1, so the user's are untouched.
# Run after `tornel-db default`; exits as tornel-cli does (0 solved).
set -euo pipefail
cd "$(dirname "$0")/.."
home=${TORNEL_HOME:-${XDG_DATA_HOME:-$HOME/.local/share}/tornel}
catalogue=$home/downloads/unpacked/usr/share/astrometry/index-tycho2-07.littleendian.fits
if [[ ! -f $catalogue || ! -f $home/param.txt ]]; then
    echo "solve-sample: no default database in $home; run build/herramientas/tornel-db default first" >&2
    exit 2
fi
sample=$PWD/build/sample
mkdir -p "$sample/home"
# Pair k of param.txt has its value on line 2k: 19 the automatic threshold, 51 the database.
awk 'NR == 38 || NR == 102 { print "1\r"; next } { print }' "$home/param.txt" >"$sample/home/param.txt"
# 206265 / 133928: the arc seconds per pixel of the default focal length.
build/herramientas/tornel-db render --ra 56.75 --dec 24.12 --scale 1.5401 --angle 0 --width 1024 \
    --height 768 --seed 7 --hot-pixels 20 --out "$sample/pleiades.fit" --truth "$sample/pleiades.csv" \
    "$catalogue"
echo "Solving $sample/pleiades.fit (true centre RA 56.75, DEC 24.12) around RA 57.5, DEC 23.5:"
TORNEL_HOME=$sample/home exec build/consola/tornel-cli --quiet 8 "$sample/pleiades.fit" 57.5 23.5
