#!/usr/bin/env bash
# Every test on every target: natively with g++, under the address and undefined-behaviour sanitizers with clang++, and
# as Windows programs under Wine. Installs what it needs. The last line gives the totals.
#
#   scripts/test.sh [linux] [asan] [windows] [format]      (all of them without an argument)
#
# The tests check permissions, which do not bind root: started as root, it works on a copy of the checkout as an
# ordinary user.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
steps=("$@")
[ ${#steps[@]} -gt 0 ] || steps=(format linux asan windows)

if [ -z "${KVTFILE_NO_INSTALL:-}" ]; then
    "$here/scripts/install-packages.sh" test
fi

if [ "$(id -u)" -eq 0 ]; then
    work=$(mktemp -d /var/tmp/kvtfile-test.XXXXXX)
    trap 'rm -rf "$work"' EXIT
    chmod 755 "$work"
    mkdir "$work/checkout" "$work/home" "$work/tmp"
    git -c safe.directory='*' -C "$here" ls-files -z --cached --others --exclude-standard |
        (cd "$here" && tar -c --null --ignore-failed-read -T -) | tar -x -C "$work/checkout"
    chown -R 12345:12345 "$work"
    # The caches of a build host are not the ordinary user's to write.
    status=0
    env -u CMAKE_CXX_COMPILER_LAUNCHER HOME="$work/home" TMPDIR="$work/tmp" KVTFILE_NO_INSTALL=1 \
        setpriv --reuid=12345 --regid=12345 --clear-groups "$work/checkout/scripts/test.sh" "${steps[@]}" || status=$?
    exit $status
fi

cd "$here"
passed=0
failed=0
skipped=0

report() {  # name, passed, failed
    printf '%-8s %s passed, %s failed\n' "$1" "$2" "$3"
    passed=$((passed + $2))
    failed=$((failed + $3))
}

check_format() {
    local bad
    bad=$(find . -path ./build -prune -o \( -name '*.cpp' -o -name '*.h' \) -print | sort |
        xargs clang-format --dry-run 2>&1 | grep -c 'warning:' || true)
    if [ "$bad" -eq 0 ]; then report format 1 0; else
        echo "format: $bad places differ from .clang-format (run clang-format -i on the files you changed)"
        report format 0 1
    fi
}

run_tests() {  # preset
    local preset=$1 junit="$here/build/$1/junit.xml" head tests bad skips
    if ! { cmake --preset "$preset" && cmake --build --preset "$preset"; } >"$here/build/$preset.log" 2>&1; then
        tail -n 40 "$here/build/$preset.log"
        echo "$preset: the build failed"
        report "$preset" 0 1
        return
    fi
    rm -f "$junit"
    ctest --preset "$preset" --no-tests=error -j "$(nproc)" --output-junit "$junit" --quiet || true
    if [ ! -s "$junit" ]; then
        echo "$preset: no test ran"
        report "$preset" 0 1
        return
    fi
    head=$(tr '\n' ' ' <"$junit" | grep -o '<testsuite [^>]*>' | head -n 1)
    tests=$(sed -E 's/.*[[:space:]]tests="([0-9]+)".*/\1/' <<<"$head")
    bad=$(sed -E 's/.*[[:space:]]failures="([0-9]+)".*/\1/' <<<"$head")
    skips=$(sed -E 's/.*[[:space:]]skipped="([0-9]+)".*/\1/' <<<"$head")
    if [ "$bad" -ne 0 ]; then
        # What the failed tests printed.
        awk '/^[0-9]+\/[0-9]+ Testing: /{block=""} {block=block $0 "\n"} /^Test (Failed|timed out|not run)/{printf "%s", block}' \
            "$here/build/$preset/Testing/Temporary/LastTest.log" | tail -n 300
    fi
    if [ "$skips" -ne 0 ]; then
        grep -B1 -A0 'status="notrun"\|<skipped' "$junit" | grep -o 'testcase name="[^"]*"' | sed 's/^/skipped: /' || true
        skipped=$((skipped + skips))
    fi
    report "$preset" $((tests - bad - skips)) "$bad"
}

check_dll() {
    # The DLL stands on system DLLs alone: nothing of the compiler's has to travel with it.
    local dll=build/windows/kvtfileU2021.dll imports strange
    imports=$(x86_64-w64-mingw32-objdump -p "$dll" 2>/dev/null | sed -nE 's/^\s*DLL Name: (.*)$/\1/p' || true)
    strange=$(grep -viE '^(api-ms-win-crt-[a-z0-9-]+|advapi32|gdi32|kernel32|ole32|oleaut32|shell32|shlwapi|user32)\.dll$' \
        <<<"$imports" || true)
    if [ -n "$imports" ] && [ -z "$strange" ]; then
        report imports 1 0
    else
        echo "the DLL imports what is no system DLL: ${strange:-nothing could be read}"
        report imports 0 1
    fi
}

mkdir -p build
export ASAN_OPTIONS="detect_stack_use_after_return=1:strict_string_checks=1" UBSAN_OPTIONS="print_stacktrace=1"
for step in "${steps[@]}"; do
    case "$step" in
        format) check_format ;;
        linux | asan | tsan | linux-clang) run_tests "$step" ;;
        windows)
            # A fresh set of Wine prefixes for every run.
            export KVTFILE_WINE_POOL="$here/build/wine"
            rm -rf "$KVTFILE_WINE_POOL"
            run_tests windows
            check_dll
            for prefix in "$KVTFILE_WINE_POOL"/*/; do
                WINEPREFIX=${prefix%/} /usr/lib/wine/wineserver64 -k >/dev/null 2>&1 || true
            done
            ;;
        *) echo "unknown step: $step" >&2; exit 2 ;;
    esac
done

if [ "$skipped" -ne 0 ]; then
    echo "$skipped skipped, as named above: this machine lacks what they need"
fi
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
