#!/usr/bin/env bash
# The main job on real input, step by step: an installed settings file is opened through its working copy, changed, and
# takes in what a newer installed file brings; XML documents that others wrote are edited in one place; an add-on is
# registered with a CAD host, on sample registries. Every step is checked; the script fails when one does not hold. It
# installs the packages it needs, builds in build/demo, and works in a folder of its own.
#
#   scripts/demo.sh
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
"$here/scripts/install-packages.sh" demo

work=$(mktemp -d "${TMPDIR:-/tmp}/kvtfile-demo.XXXXXX")
trap 'rm -rf "$work"' EXIT
export LC_ALL=C.UTF-8 KVTFILE_PREFIX="$work/prefix"

step() { printf '\n== %s\n' "$*"; }
say() { printf '   %s\n' "$*"; }
fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# Shows a command line and runs it.
run() {
    local shown="" word
    for word in "$@"; do
        case "$word" in
            *[!A-Za-z0-9_./=-]* | "") shown+=" '$word'" ;;
            *) shown+=" $word" ;;
        esac
    done
    printf '\n$ kvtfile%s\n' "$shown"
    "$work/kvtfile" "$@"
}

# expect WHAT WANTED ACTUAL
expect() {
    [ "$2" = "$3" ] || fail "$1: '$3' instead of '$2'"
    say "checked: $1"
}

step "Building the command (some minutes on a small machine)"
if ! { cmake -S "$here" -B "$here/build/demo" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKVTFILE_BUILD_TESTS=OFF \
    -DKVTFILE_BUILD_EXAMPLES=OFF && cmake --build "$here/build/demo"; } >"$work/build.log" 2>&1; then
    tail -n 40 "$work/build.log"
    fail "the build"
fi
ln -s "$here/build/demo/kvtfile" "$work/kvtfile"
run --version

# ---- settings

installed='C:\ORVASOFT\RIVADX V11.0\Sys\Display.xml'
installed_file="$KVTFILE_PREFIX/drive_c/ORVASOFT/RIVADX V11.0/Sys/Display.xml"
working_file="$KVTFILE_PREFIX/drive_c/OrvaData/RIVADX/Sys/Display.xml"

step "An installed settings file, in a folder that users may not change"
mkdir -p "$(dirname "$installed_file")"
cat >"$installed_file" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<CONFIG>
  <CLASS key="Display" text="Display" extend="">
    <DATA key="Width" text="" value="800" type="int" default="800" range="1-4096" dict="" extend=""/>
    <DATA key="Background" text="Background" value="black" type="text" default="black" range="" dict="" extend=""/>
  </CLASS>
</CONFIG>
XML
touch -d '2024-01-15 12:00:00' "$installed_file"
cp -p "$installed_file" "$work/installed-1.xml"
say "$installed"
say "(here: \$KVTFILE_PREFIX/drive_c/ORVASOFT/RIVADX V11.0/Sys/Display.xml)"

step "Opened: the user gets a working copy, made once"
run cfg open "$installed"
cmp "$installed_file" "$working_file" || fail "the working copy differs from the installed file"
say "checked: the working copy holds the bytes of the installed file"
run cfg list "$installed" --recursive

step "Changed and saved: only the working copy changes"
run cfg set "$installed" Display.Width 1920
expect "the value was saved" 1920 "$("$work/kvtfile" cfg get "$installed" Display.Width 2>/dev/null)"
cmp "$installed_file" "$work/installed-1.xml" || fail "the installed file was changed"
say "checked: the installed file is as it was"
diff "$installed_file" "$working_file" >"$work/diff" || true
sed 's/^/   /' "$work/diff"
expect "one line of the working copy differs" 1 "$(grep -c '^>' "$work/diff")"

step "A newer version is installed: a new class, a new data item, a blank filled, another default value"
cat >"$installed_file" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<CONFIG>
  <CLASS key="Display" text="Display" extend="">
    <DATA key="Width" text="Width in pixels" value="1024" type="int" default="1024" range="1-4096" dict="" extend=""/>
    <DATA key="Background" text="Background" value="black" type="text" default="black" range="" dict="" extend=""/>
    <DATA key="Antialias" text="Smooth lines" value="1" type="int" default="1" range="0-1" dict="" extend=""/>
  </CLASS>
  <CLASS key="Plot" text="Plotting" extend="">
    <DATA key="Paper" text="Paper" value="A3" type="text" default="A3" range="" dict="" extend=""/>
  </CLASS>
</CONFIG>
XML
touch -d '2024-06-15 12:00:00' "$installed_file"
say "what it would bring, without bringing it:"
cp "$working_file" "$work/working-before.xml"
run cfg merge "$installed"
cmp "$working_file" "$work/working-before.xml" || fail "the report changed the working copy"
say "checked: the report changed nothing"

step "Opened again: the new items come in, what the user set stays"
run cfg open "$installed" | tee "$work/opened"
grep -q 'merged: 1 class and 2 data items added, 1 blank filled' "$work/opened" || fail "what opening merged"
run cfg list "$installed" --recursive
get() { "$work/kvtfile" cfg get "$installed" "$@" 2>/dev/null; }
expect "the user's own width is still there" 1920 "$(get Display.Width)"
expect "the blank text was filled" "Width in pixels" "$(get Display.Width --field text)"
expect "a default that was not blank was kept" 800 "$(get Display.Width --field default)"
expect "the new data item came in" 1 "$(get Display.Antialias)"
expect "the new class came in with what is in it" A3 "$(get Plot.Paper)"
cp "$working_file" "$work/working-merged.xml"
run cfg open "$installed"
cmp "$working_file" "$work/working-merged.xml" || fail "a third opening changed the working copy"
say "checked: opening once more changes nothing"

# ---- documents that nobody here wrote

# edit FILE PATH OLD NEW: sets the data of one element, shows that no other byte changed, and sets it back.
edit() {
    local file=$1 path=$2 old=$3 new=$4 copy
    copy=$(basename "$file")
    cd "$work"
    cp "$file" "$copy"
    run xml check "$copy"
    run xml tree "$copy" --depth 2 --attribs | head -n 8 || true
    say "..."
    run xml get "$copy" "$path"
    expect "the element holds what it should" "$old" "$("$work/kvtfile" xml get "$copy" "$path")"
    run xml set "$copy" "$path" --data "$new"
    diff "$file" "$copy" >"$work/diff" || true
    sed 's/^/   /' "$work/diff"
    expect "one line differs" "1 1" "$(grep -c '^<' "$work/diff") $(grep -c '^>' "$work/diff")"
    # The bytes before the edit, and those after it, counted from the end.
    local first rest
    first=$(($({ cmp "$file" "$copy" || true; } | sed 's/.* byte \([0-9]*\),.*/\1/') - 1))
    rest=$(($(stat -c %s "$file") - first - $(printf %s "$old" | wc -c)))
    cmp -n "$first" "$file" "$copy" || fail "bytes before the edit changed"
    cmp <(tail -c "$rest" "$file") <(tail -c "$rest" "$copy") || fail "bytes after the edit changed"
    expect "the file grew by the edit alone" $(($(printf %s "$new" | wc -c) - $(printf %s "$old" | wc -c))) \
        $(($(stat -c %s "$copy") - $(stat -c %s "$file")))
    say "checked: $first bytes before the edit and $rest bytes after it are unchanged"
    "$work/kvtfile" xml set "$copy" "$path" --data "$old" >/dev/null
    cmp "$file" "$copy" || fail "setting the old data does not give the old file"
    say "checked: set back, the file is the one it was, byte for byte"
}

step "The shared MIME database of shared-mime-info"
mime=/usr/share/mime/packages/freedesktop.org.xml
number=$(grep '<mime-type ' "$mime" | grep -n 'type="image/svg+xml"' | cut -d: -f1)
edit "$mime" "/mime-info/mime-type[$number]/comment[3]" "SVG 图像" "矢量图 SVG"

step "The settings registry main.xcd of libreoffice-common (fetched, not installed)"
(
    cd "$work"
    apt-get download -qq libreoffice-common >"$work/apt.log" 2>&1 || {
        cat "$work/apt.log" >&2
        fail "libreoffice-common cannot be downloaded"
    }
    dpkg-deb -x libreoffice-common_*.deb "$work/libreoffice"
)
registry=$(find "$work/libreoffice" -name main.xcd)
number=$(sed '/oor:name="ConnectTimeout"/q' "$registry" | grep -c '<prop ')
group=/oor:data/oor:component-schema/component/group
expect "the property is the one meant" ConnectTimeout \
    "$("$work/kvtfile" xml get "$registry" "$group/prop[$number]" --attrib oor:name)"
edit "$registry" "$group/prop[$number]/value" 20 45

# ---- hosts and add-ons

step "CAD hosts: three registries, as other machines exported them, are taken in"
samples="$here/tests/data/registry"
cd "$work"
for name in r15 acad2020 zwcad; do
    for half in machine user; do
        cp "$samples/$name-$half.reg" .
        run reg import "$name-$half.reg"
    done
done
run host list
expect "the current AutoCAD 2020 was found" 'C:\Program Files\Autodesk\AutoCAD 2020\' \
    "$("$work/kvtfile" host list | grep -A 3 '^AutoCAD 2020' | sed -n 's/^  folder    //p')"
run reg export 'HKLM\SOFTWARE\ZWSOFT' zwsoft.reg
cmp zwsoft.reg zwcad-machine.reg || fail "the export differs from what was imported"
say "checked: exported again, the file is the one that was imported, byte for byte"

step "An add-on is registered with AutoCAD 2020"
add=(arx add Walls --release 2020 --folder 'C:\Walls' --group WALLS --command WALL --command DOOR --load command)
run "${add[@]}" --dry-run | tee "$work/foreseen"
[ "$("$work/kvtfile" arx status Walls --release 2020 2>/dev/null)" = "" ] || fail "the dry run wrote something"
say "checked: the dry run wrote nothing"
run "${add[@]}"
run arx status Walls --release 2020 | tee "$work/status"
expect "what was written is what the dry run told" "$(grep -v '^\$' "$work/foreseen")" \
    "$(grep -v '^\$\|^loaded' "$work/status")"
run arx remove Walls --release 2020

step "Its folder goes to the front of the support search path of AutoCAD 2002"
run support-path list
before=$("$work/kvtfile" support-path list)
run support-path add 'C:\Walls\Support'
run support-path list
expect "no folder was lost" 'c:\walls\support
'"$before" "$("$work/kvtfile" support-path list)"
run support-path remove 'C:\Walls\Support'
expect "removed, the search path is the one it was" "$before" "$("$work/kvtfile" support-path list)"

printf '\nAll steps hold.\n'
