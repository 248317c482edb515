#!/usr/bin/env bash
# The house's floors: an include may only point down. comun/ is the ground; imagen/, catalogo/,
# busqueda/, astrometria/, resultados/ and telescopio/ stand on it and on one another; core/ (the run)
# and automatizacion/ (its mailbox, which starts runs) stand on them; the front ends on top.
set -u
cd "$1"
status=0
check() {  # folder, then the folders it may include
    local folder=$1; shift
    local allowed=$(IFS='|'; echo "$*")
    local bad
    bad=$(grep -rnE '^#include "[a-z_]+/' "$folder" --include='*.h' --include='*.cpp' |
          grep -vE "#include \"($allowed)/")
    if [ -n "$bad" ]; then
        echo "$folder/ includes above its floor:"; echo "$bad"; status=1
    fi
}
lower=(comun imagen catalogo busqueda astrometria resultados telescopio)
check comun comun imagen/pixel
for s in imagen catalogo busqueda astrometria resultados telescopio; do check "$s" "${lower[@]}"; done
check core "${lower[@]}" core automatizacion
check automatizacion "${lower[@]}" core automatizacion
# The automation service carries the object over the bus for both front ends.
check servicio "${lower[@]}" core automatizacion consola servicio
[ $status -eq 0 ] && echo "1 passed, 0 failed" || echo "0 passed, 1 failed"
exit $status
