#!/bin/sh
# Solves an image through Tornel's automation object on the session bus, with gdbus. The first call
# starts tornel-cli when no Tornel runs (D-Bus activation); it ends a little after the last call.
# Usage: solve.sh IMAGE ARCSEC_PER_PIXEL RA_HOURS DEC_DEGREES
# With no arguments: the sample field of scripts/solve-sample.sh, around a position a degree away.
set -eu
image=${1:-$(pwd)/build/sample/pleiades.fit}
scale=${2:-1.5401}
ra=${3:-3.8333}
dec=${4:-23.5}

call() {
    gdbus call --session --dest org.tornel.ImageSolver --object-path /org/tornel/ImageSolver "$@"
}
set_property() {
    call --method org.freedesktop.DBus.Properties.Set org.tornel.ImageSolver1 "$1" "$2" >/dev/null
}
# gdbus prints a value as "(<value>,)".
get_property() {
    call --method org.freedesktop.DBus.Properties.Get org.tornel.ImageSolver1 "$1" | sed -e 's/^(<//' -e 's/>,)$//'
}

# A refused value stops the script here with the object's message, " Error 101: ...".
set_property ImagePath "<'$image'>"
set_property ArcSecPerPixel "<$scale>"
set_property EstimatedRA "<$ra>"
set_property EstimatedDEC "<$dec>"
# Analyze answers when the analysis has ended: wait up to 10 minutes, not gdbus's usual 25 s.
call --timeout 600 --method org.tornel.ImageSolver1.Analyze >/dev/null
if [ "$(get_property Solved)" != true ]; then
    echo "Not solved: $(get_property FailureCause)"
    exit 1
fi
echo "Solved: RA $(get_property RightAscension) h, DEC $(get_property Declination) degrees," \
    "$(get_property Sides) sides"
