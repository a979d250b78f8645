#!/usr/bin/env bash
# Runs a Windows program under Wine in one of a small pool of prefixes, each used by one program at a time.
#
#   scripts/wine-run.sh PROGRAM.exe [ARGUMENT...]
#
# KVTFILE_WINE_POOL   the folder of the prefixes (default: build/wine of the checkout)
# KVTFILE_WINE_COUNT  how many there are (default: the number of processors)
# WINEPREFIX          if set, this prefix is used and the pool is left alone
set -u
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=;winemenubuilder.exe=d}"
export LC_ALL="${KVTFILE_WINE_LOCALE:-C.UTF-8}"
unset DISPLAY
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
server=/usr/lib/wine/wineserver64
[ -x "$server" ] || server=wineserver

if [ -n "${WINEPREFIX:-}" ]; then
    exec "$wine" "$@"
fi

pool=${KVTFILE_WINE_POOL:-$here/build/wine}
count=${KVTFILE_WINE_COUNT:-$(nproc)}
mkdir -p "$pool"
for ((;;)); do
    for ((n = 1; n <= count; n++)); do
        exec 9>>"$pool/$n.lock"
        if flock -n 9; then
            export WINEPREFIX="$pool/$n"
            mkdir -p "$WINEPREFIX"
            # The prefix's server outlives the program: the next one starts at once, and never meets a server on its
            # way out. It ends by itself when nobody has come for ten minutes.
            "$server" -p600 >/dev/null 2>&1 9>&-
            if [ ! -e "$WINEPREFIX/system.reg" ]; then
                "$wine" wineboot -i >/dev/null 2>&1 9>&-
            fi
            "$wine" "$@" 9>&-
            exit
        fi
    done
    # All are taken: wait for the first one to come free rather than spin.
    exec 9>>"$pool/1.lock"
    flock -w 1 9 && flock -u 9
done
