#!/usr/bin/env bash
# Screenshots of the desktop program after a real solve of the sample field, in English and in
# Spanish, taken from a real X server (xvfb-run) into docs/images/. The sample is the field of
# scripts/solve-sample.sh: the Pleiades rendered from the Tycho-2 list of `tornel-db default`, solved
# around a position a degree away, in a program folder of its own (build/window-sample/home) whose
# parameters are the user's with the automatic threshold, database 1, the search centre in the combos
# and display levels for the rendered sky. Then the calibration windows (tornel-calibration-shots):
# three stars of the sample picked and calibrated, and the angle search window. With --bench it then
# runs tornel-window-bench on the same sample. Run after `tornel-db default` and a build in build/
# (or TORNEL_BUILD).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=$(cd "${TORNEL_BUILD:-build}" && pwd)
home=${TORNEL_HOME:-${XDG_DATA_HOME:-$HOME/.local/share}/tornel}
catalogue=$home/downloads/unpacked/usr/share/astrometry/index-tycho2-07.littleendian.fits
if [[ ! -f $catalogue || ! -f $home/param.txt ]]; then
    echo "window-shots: no default database in $home; run build/herramientas/tornel-db default first" >&2
    exit 2
fi
sample=$root/build/window-sample
rm -rf "$sample"
mkdir -p "$sample/home/messages" "$root/docs/images"
"$build/herramientas/tornel-db" render --ra 56.75 --dec 24.12 --scale 1.5401 --angle 0 --width 1024 \
    --height 768 --seed 7 --hot-pixels 20 --out "$sample/pleiades.fit" --truth "$sample/pleiades.csv" \
    "$catalogue" >/dev/null

# Pair k of param.txt has its value on line 2k: 3 language, 18 coordinate origin (0: the combos),
# 19 automatic threshold, 24 and 25 the FITS display levels, 32 the mailbox folder, 41 and 42 the
# combos' centre, 45 to 48 the window, 51 the database.
parameters() {  # language
    awk -v lang="$1" -v mail="$sample/home/messages/" '
        NR == 6 { print lang "\r"; next }
        NR == 36 { print "0\r"; next }
        NR == 38 || NR == 102 { print "1\r"; next }
        NR == 48 { print "960\r"; next }
        NR == 50 { print "1500\r"; next }
        NR == 64 { print mail "\r"; next }
        NR == 82 { print "57.5\r"; next }
        NR == 84 { print "23.5\r"; next }
        NR == 90 || NR == 92 { print "0\r"; next }
        NR == 94 { print "1280\r"; next }
        NR == 96 { print "860\r"; next }
        { print }' "$home/param.txt" >"$sample/home/param.txt"
}

shot() {  # language, file
    parameters "$1"
    rm -f "$sample/home/messages/tornel.sta"
    TORNEL_HOME=$sample/home xvfb-run -a -s "-screen 0 1280x860x24" bash -c '
        "$1" --analyze "$2" &
        window=$!
        for _ in $(seq 1 120); do
            sleep 0.5
            grep -qa "status=0[12]" "$3" 2>/dev/null && break
        done
        sleep 1.5
        import -window root -colors 256 "PNG8:$4"
        kill "$window"
        wait "$window" || true' _ "$build/interfaz/tornel" "$sample/pleiades.fit" \
        "$sample/home/messages/tornel.sta" "$2"
    grep -qa "status=01" "$sample/home/messages/tornel.sta" || {
        echo "window-shots: the sample was not solved" >&2
        exit 1
    }
    echo "window-shots: $2"
}

shot 0 "$root/docs/images/window-english.png"
shot 1 "$root/docs/images/window-spanish.png"

# The calibration: a field turned by 20 degrees, so that the angle found shows.
"$build/herramientas/tornel-db" render --ra 56.75 --dec 24.12 --scale 1.5401 --angle 20 --width 1024 \
    --height 768 --seed 7 --out "$sample/turned.fit" --truth "$sample/turned.csv" "$catalogue" >/dev/null
parameters 0
TORNEL_HOME=$sample/home timeout 300 xvfb-run -a -s "-screen 0 1280x860x24" \
    "$build/bench/tornel-calibration-shots" "$sample/home/" "$sample/turned.fit" "$sample/turned.csv" \
    "$root/docs/images"

if [[ ${1:-} == --bench ]]; then
    parameters 0
    TORNEL_HOME=$sample/home xvfb-run -a -s "-screen 0 1280x860x24" \
        "$build/bench/tornel-window-bench" "$build/interfaz/tornel" "$sample/home/" "$sample/pleiades.fit"
fi
