#!/usr/bin/env bash
# Installs the build into a scratch prefix and checks what a user of the installed product meets: the
# programs start from there with nothing but their run path, every manual page renders without a
# warning and documents every option its program's help lists, and the shell completion of
# tornel-cli offers every option of "solve".
# Usage: installed_programs.sh BUILD_DIR
set -uo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

cmake --install "$build" --prefix "$prefix" >/dev/null || { echo "FAIL: cmake --install"; exit 1; }
run() { env -i HOME="$prefix" TORNEL_HOME="$prefix/home" "$prefix/bin/$@"; }

run tornel-cli --version | grep -q '^tornel-cli ' || fail "installed tornel-cli does not start"
run tornel-astap -h | grep -q '^Usage: tornel-astap' || fail "installed tornel-astap does not start"
run tornel-db --help | grep -q '^Usage: tornel-db' || fail "installed tornel-db does not start"
run tornel-solve-field -h | grep -q '^Usage: tornel-solve-field' || fail "installed tornel-solve-field does not start"

# Options as a help text or a page writes them: "--word" and, for tornel-astap, "-word" at a start.
long_options() { grep -oE -- '--[a-z][a-z-]*' | sort -u; }
page() {
    local file=$prefix/share/man/man1/$1.1
    [ -f "$file" ] || { fail "no manual page $1.1"; return; }
    local warnings
    warnings=$(groff -man -ww -z "$file" 2>&1)
    [ -z "$warnings" ] || fail "$1.1 renders with warnings: $warnings"
    MANWIDTH=200 man -l "$file" 2>/dev/null | col -b
}

# The desktop program, when Qt was there to build it, with its menu entry and icon.
if [ -x "$prefix/bin/tornel" ]; then
    run tornel --version | grep -q '^tornel ' || fail "installed tornel does not start"
    desktop=$prefix/share/applications/tornel.desktop
    [ -f "$desktop" ] || fail "no desktop entry tornel.desktop"
    grep -q '^Exec=tornel ' "$desktop" || fail "the desktop entry does not start tornel"
    [ -f "$prefix/share/icons/hicolor/scalable/apps/tornel.svg" ] || fail "no icon tornel.svg"
    if command -v desktop-file-validate >/dev/null; then
        desktop-file-validate "$desktop" || fail "tornel.desktop does not validate"
    fi
    documented=$(page tornel | long_options)
    for option in $(run tornel --help | long_options); do
        grep -qx -- "$option" <<<"$documented" || fail "tornel.1 does not document $option"
    done
fi
# The automation service's activation file and its interface, when Qt DBus was there to build it.
if [ -f "$build/dbus-1/services/org.tornel.ImageSolver.service" ]; then
    service=$prefix/share/dbus-1/services/org.tornel.ImageSolver.service
    grep -qx 'Name=org.tornel.ImageSolver' "$service" 2>/dev/null || fail "no activation file for org.tornel.ImageSolver"
    grep -qE '^Exec=/.*/tornel-cli --automation$' "$service" || fail "the activation file does not start tornel-cli"
    [ -f "$prefix/share/dbus-1/interfaces/org.tornel.ImageSolver1.xml" ] || fail "no interface file"
    # tornel-cli --automation becomes the program that carries Qt: with no bus to reach, it is that
    # program that says so.
    answer=$(env -i HOME="$prefix" TORNEL_HOME="$prefix/home" DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent \
        timeout 20 "$prefix/bin/tornel-cli" --automation 2>&1)
    grep -q 'no session bus' <<<"$answer" || fail "installed tornel-cli --automation does not reach tornel-automation: $answer"
fi
# What only some runs load: the Alpaca link, beside the pixel library that the run path finds.
pixel=$(find "$prefix" -name 'libtornel.so*' | head -1)
[ -f "$(dirname "$pixel")/tornel-alpaca.so" ] || fail "the Alpaca module is not installed beside $pixel"
documented=$(page tornel-cli | long_options)
for option in $(run tornel-cli solve --help | long_options) $(run tornel-cli --help | long_options); do
    grep -qx -- "$option" <<<"$documented" || fail "tornel-cli.1 does not document $option"
done
documented=$(page tornel-db | long_options)
for option in $(run tornel-db --help | long_options); do
    grep -qx -- "$option" <<<"$documented" || fail "tornel-db.1 does not document $option"
done
documented=$(page tornel-solve-field | long_options)
for option in $(run tornel-solve-field -h | long_options); do
    grep -qx -- "$option" <<<"$documented" || fail "tornel-solve-field.1 does not document $option"
done
astap_page=$(page tornel-astap)
for option in $(run tornel-astap -h | grep -oE -- '(^|[ [])-[a-z]+' | tr -d ' [' | sort -u); do
    grep -qE -- "(^|[ ,])$option([ ,]|$)" <<<"$astap_page" || fail "tornel-astap.1 does not document $option"
done

completion=$prefix/share/bash-completion/completions/tornel-cli
offered=$(bash -c "source '$completion'; COMP_WORDS=(tornel-cli solve image.fit --); COMP_CWORD=3; _tornel_cli; printf '%s\n' \"\${COMPREPLY[@]}\"" | sort -u)
for option in $(run tornel-cli solve --help | long_options); do
    grep -qx -- "$option" <<<"$offered" || fail "the completion does not offer $option"
done
modes=$(bash -c "source '$completion'; COMP_WORDS=(tornel-cli ''); COMP_CWORD=1; _tornel_cli; echo \"\${COMPREPLY[*]}\"")
[ "$modes" = "solve 0 1 2 3 4 5 6 7 8" ] || fail "the completion offers '$modes' as the first word"

[ $failures -eq 0 ] && echo "installed programs, pages and completion: all good"
exit $((failures > 0))
