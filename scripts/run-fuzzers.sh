#!/usr/bin/env bash
# Runs the fuzz targets of a TORNEL_FUZZ build one after another, each for a bounded time, and prints
# a line per target: executions, edges of its reader reached, and whether it found a fault.
#
#   scripts/run-fuzzers.sh BUILD_FOLDER SECONDS_EACH [TARGET...]
#
# Each target starts from its seeds (fuzz/corpus/<target>) and from what earlier runs kept in
# BUILD_FOLDER/fuzz-corpus/<target>; a crashing input is left in BUILD_FOLDER/fuzz-faults/. Exits
# with 1 when any target found a fault.
set -uo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$(cd "$1" && pwd)"
seconds="$2"
shift 2
targets=("$@")
[ ${#targets[@]} -eq 0 ] &&
    targets=(fuzz_fits fuzz_bmp fuzz_jpg fuzz_png fuzz_tiff fuzz_param fuzz_message fuzz_telescop fuzz_indi fuzz_alpaca fuzz_chart
             fuzz_quads fuzz_stars fuzz_objects fuzz_triangles fuzz_pole fuzz_regions fuzz_rings)

# The source files whose edges count as the target's reader.
readers() {
    case "$1" in
        fuzz_fits) echo "imagen/fits_header.cpp imagen/fits_cards.cpp imagen/pixel/fit" ;;
        fuzz_bmp) echo "imagen/bmp_reader.cpp" ;;
        fuzz_jpg) echo "imagen/jpg_reader.cpp" ;;
        fuzz_png) echo "imagen/png_reader.cpp" ;;
        fuzz_tiff) echo "imagen/tiff_reader.cpp" ;;
        fuzz_param) echo "core/parametros.cpp" ;;
        fuzz_message) echo "automatizacion/mensajes.cpp automatizacion/comandos.cpp automatizacion/mailbox_files.cpp automatizacion/buzon.cpp" ;;
        fuzz_telescop) echo "telescopio/telescope_setups.cpp" ;;
        fuzz_indi) echo "telescopio/indi_stream.cpp" ;;
        fuzz_alpaca) echo "telescopio/alpaca_replies.cpp" ;;
        fuzz_chart) echo "telescopio/cartes_du_ciel.cpp telescopio/line_service.cpp" ;;
        fuzz_quads) echo "catalogo/quad_index.cpp" ;;
        fuzz_stars) echo "catalogo/star_catalogue.cpp catalogo/regions.cpp catalogo/database_check.cpp" ;;
        fuzz_objects) echo "catalogo/deep_sky_objects.cpp" ;;
        fuzz_triangles) echo "catalogo/triangle_database.cpp" ;;
        fuzz_pole | fuzz_rings) echo "catalogo/distance_database.cpp" ;;
        fuzz_regions) echo "catalogo/regions.cpp" ;;
    esac
}

failed=0
mkdir -p "$build/fuzz-faults" "$build/fuzz-logs"
for t in "${targets[@]}"; do
    corpus="$build/fuzz-corpus/$t"
    mkdir -p "$corpus"
    dict=()
    [ -f "$root/fuzz/dict/$t.dict" ] && dict=(-dict="$root/fuzz/dict/$t.dict")
    log="$build/fuzz-logs/$t.log"
    # The picture targets read with a lower limit than the engine's gigabyte and a FITS file must hold
    # the data it claims, so no input should take seconds (one that does is a hang) and none should
    # make a single allocation of hundreds of megabytes (one that does is a limit a file can bypass).
    nice -n 10 "$build/fuzz/$t" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 -malloc_limit_mb=512 \
        -print_final_stats=1 -print_coverage=1 -artifact_prefix="$build/fuzz-faults/$t-" "${dict[@]}" \
        "$corpus" "$root/fuzz/corpus/$t" >"$log" 2>&1
    status=$?
    runs=$(grep -m1 '^stat::number_of_executed_units' "$log" | awk '{print $2}')
    edges=$(awk -v files="$(readers "$t")" '
        BEGIN { n = split(files, f, " ") }
        /^(UN)?COVERED_FUNC:/ {
            for (i = 1; i <= n; ++i)
                if (index($NF, "/" f[i]) > 0) { split($5, e, "/"); got += e[1]; all += e[2]; break }
        }
        END { if (all > 0) printf "%d/%d (%.0f %%)", got, all, 100 * got / all; else printf "-" }' "$log")
    verdict=ok
    if [ $status -ne 0 ]; then
        verdict="FAULT (see $log)"
        failed=1
    fi
    printf '%-16s %10s executions  reader edges %-18s %s\n' "$t" "${runs:-?}" "$edges" "$verdict"
done
exit $failed
