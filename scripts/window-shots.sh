#!/usr/bin/env bash
# Screenshots of the desktop program after a real solve of the sample field, in English and in
# Spanish, taken from a real X server (xvfb-run) into docs/images/. The sample is the field of
# scripts/solve-sample.sh: the Pleiades rendered from the Tycho-2 list of `tornel-db default`, solved
# around a position a degree away, in a program folder of its own (build/window-sample/home) whose
# parameters are the user's with the automatic threshold, database 1, the search centre in the combos
# and display levels for the rendered sky. A third shot is of a real photograph solved blind, the
# Pleiades of the validation images (TORNEL_VALIDATION, ../shared/validation by default), with the
# objects of the database's pgc.bin, the compass and the guidance labels towards a target set in the
# combos. Then the calibration windows (tornel-calibration-shots): three stars of the sample picked and
# calibrated, and the angle search window. With --bench it then runs tornel-window-bench on the same
# sample. Run after `tornel-db default` and a build in build/ (or TORNEL_BUILD).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=$(realpath "${TORNEL_BUILD:-build}")
validation=${TORNEL_VALIDATION:-$root/../shared/validation}
home=${TORNEL_HOME:-${XDG_DATA_HOME:-$HOME/.local/share}/tornel}
catalogue=$home/downloads/unpacked/usr/share/astrometry/index-tycho2-07.littleendian.fits
if [[ ! -f $catalogue || ! -f $home/param.txt ]]; then
    echo "window-shots: no default database in $home; run build/herramientas/tornel-db default first" >&2
    exit 2
fi
sample=$build/window-sample
rm -rf "$sample"
mkdir -p "$sample/home/messages" "$root/docs/images"
"$build/herramientas/tornel-db" render --ra 56.75 --dec 24.12 --scale 1.5401 --angle 0 --width 1024 \
    --height 768 --seed 7 --hot-pixels 20 --out "$sample/pleiades.fit" --truth "$sample/pleiades.csv" \
    "$catalogue" >/dev/null

# Pair k of param.txt has its value on line 2k: 3 language, 18 coordinate origin (0: the combos),
# 19 automatic threshold, 24 and 25 the FITS display levels, 32 the mailbox folder, 41 and 42 the
# combos' centre, 45 to 48 the window, 51 the database, 56 and 57 the guidance advices and their size.
parameters() {  # language, [combos' RA and DEC, the guidance's size]
    awk -v lang="$1" -v mail="$sample/home/messages/" -v ra="${2:-57.5}" -v dec="${3:-23.5}" \
        -v size="${4:-1}" '
        NR == 6 { print lang "\r"; next }
        NR == 36 { print "0\r"; next }
        NR == 38 || NR == 102 { print "1\r"; next }
        NR == 48 { print "960\r"; next }
        NR == 50 { print "1500\r"; next }
        NR == 64 { print mail "\r"; next }
        NR == 44 { print "0\r"; next }
        NR == 46 { print "255\r"; next }
        NR == 82 { print ra "\r"; next }
        NR == 84 { print dec "\r"; next }
        NR == 112 { print "1\r"; next }
        NR == 114 { print size "\r"; next }
        NR == 90 || NR == 92 { print "0\r"; next }
        NR == 94 { print "1280\r"; next }
        NR == 96 { print "860\r"; next }
        { print }' "$home/param.txt" >"$sample/home/param.txt"
}

shot() {  # language, file, image, [parameters' combos and size]
    parameters "$1" "${@:4}"
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
        wait "$window" || true' _ "$build/interfaz/tornel" "$3" \
        "$sample/home/messages/tornel.sta" "$2"
    grep -qa "status=01" "$sample/home/messages/tornel.sta" || {
        echo "window-shots: the sample was not solved" >&2
        exit 1
    }
    echo "window-shots: $2"
}

shot 0 "$root/docs/images/window-english.png" "$sample/pleiades.fit"
shot 1 "$root/docs/images/window-spanish.png" "$sample/pleiades.fit"
# The photograph's target lies 1.5 degrees east and a quarter of a degree north of its centre: one
# advice in degrees (yellow), one in minutes (green).
shot 0 "$root/docs/images/window-objects.png" "$validation/pleiades_color.jpg" 58.0 24.4 2

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
