#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-3.0-or-later
# Installs the build the way a desktop application is installed, packages it as a .deb, unpacks
# that into an empty root and starts the program from there.
# usage: check-packaging.sh CMAKE CPACK BUILD_DIR VERSION
set -euo pipefail

cmake_cmd=$1
cpack_cmd=$2
build=$3
version=$4

skip() { echo "SKIP: $*"; exit 77; }
fail() { echo "FAIL: $*" >&2; exit 1; }

# A missing tool is reported as a skip naming the package, never as a quiet pass.
need() {
    command -v "$1" >/dev/null || skip "$1 not found (install $2; scripts/install-deps.sh does)"
}
need dpkg dpkg
need dpkg-deb dpkg
need dpkg-shlibdeps dpkg-dev
need desktop-file-validate desktop-file-utils
need file file
need ldd libc-bin

work=$(mktemp -d "${TMPDIR:-/tmp}/vrxpackaging.XXXXXX")
app_pid=
cleanup() {
    if [ -n "$app_pid" ] && kill -0 "$app_pid" 2>/dev/null; then
        kill -KILL "$app_pid" 2>/dev/null || true
        wait "$app_pid" 2>/dev/null || true
    fi
    rm -rf "$work"
}
trap cleanup EXIT

programs=(vrxassist vrxdemo vrxloadgen vrxmonconsole)
icon_sizes=(16 32 48 64 128 256)

# The files every installation holds, relative to the prefix.
expected_files() {
    for p in "${programs[@]}"; do
        echo "bin/$p"
        echo "share/man/man1/$p.1.gz"
    done
    echo share/applications/vrxassist.desktop
    for n in "${icon_sizes[@]}"; do
        echo "share/icons/hicolor/${n}x${n}/apps/vrxassist.png"
    done
    echo share/icons/hicolor/scalable/apps/vrxassist.svg
    echo share/doc/vrxassist/README.md
    echo share/doc/vrxassist/copyright
    echo share/doc/vrxassist/changelog.gz
}

# The installed tree holds exactly the expected files: no tests, benchmarks or libraries.
check_tree() {
    local root=$1 what=$2
    diff <(expected_files | sort) <(cd "$root" && find . -type f -o -type l | sed 's|^\./||' | sort) \
        >"$work/tree.diff" || { cat "$work/tree.diff" >&2; fail "$what: unexpected file list"; }
    for p in "${programs[@]}"; do
        [ -x "$root/bin/$p" ] || fail "$what: bin/$p is not executable"
    done
    for n in "${icon_sizes[@]}"; do
        file "$root/share/icons/hicolor/${n}x${n}/apps/vrxassist.png" | grep -q "PNG image data, $n x $n," ||
            fail "$what: the ${n}x${n} icon is not a $n x $n PNG"
    done
    grep -q '<svg' "$root/share/icons/hicolor/scalable/apps/vrxassist.svg" ||
        fail "$what: the scalable icon is not SVG"
    desktop-file-validate "$root/share/applications/vrxassist.desktop" ||
        fail "$what: desktop-file-validate rejects the desktop entry"
    # The entry must name what was installed beside it.
    local entry=$root/share/applications/vrxassist.desktop
    grep -qx 'Exec=vrxassist %F' "$entry" || fail "$what: Exec is not the installed program"
    grep -qx 'Icon=vrxassist' "$entry" || fail "$what: Icon is not the installed icon name"
    # A version raised without a changelog entry would ship the old entry as the newest.
    [ "$(gzip -dc "$root/share/doc/vrxassist/changelog.gz" | dpkg-parsechangelog -l - -S Version)" \
        = "$version" ] || fail "$what: the changelog's newest entry is not $version"
}

# --- cmake --install into a private prefix, as `--prefix ~/.local` would ---
echo "== cmake --install"
"$cmake_cmd" --install "$build" --prefix "$work/prefix" >"$work/install.log" ||
    { cat "$work/install.log" >&2; fail "cmake --install failed"; }
check_tree "$work/prefix" "cmake --install"

# --- the Debian package ---
echo "== cpack -G DEB"
[ -f "$build/CPackConfig.cmake" ] || fail "$build/CPackConfig.cmake missing"
# -B keeps the package and CPack's staging out of the build tree.
"$cpack_cmd" --config "$build/CPackConfig.cmake" -G DEB -B "$work/deb" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log" >&2; fail "cpack failed"; }
if grep -qi 'warning' "$work/cpack.log"; then
    cat "$work/cpack.log" >&2
    fail "cpack warned"
fi
arch=$(dpkg --print-architecture)
deb=$work/deb/vrxassist_${version}_${arch}.deb
[ -f "$deb" ] || { ls -l "$work/deb" >&2; fail "no $(basename "$deb")"; }

dpkg-deb -I "$deb" >"$work/info.txt"
cat "$work/info.txt"
field() { dpkg-deb -f "$deb" "$1"; }
[ "$(field Package)" = vrxassist ] || fail "Package is '$(field Package)'"
[ "$(field Version)" = "$version" ] || fail "Version is '$(field Version)', not $version"
depends=$(field Depends)
# Package names alone, alternatives included, one a line.
depends_names=$(tr ',|' '\n\n' <<<"$depends" | sed 's/(.*//; s/[[:space:]]//g' | sort -u)
# The libraries the program links, each named by its bookworm package.
for pkg in libqt5widgets5 libqt5gui5 libqt5core5a libqwt-qt5-6 libfftw3-double3 libc6 libstdc++6; do
    grep -Fqx "$pkg" <<<"$depends_names" || fail "Depends lacks $pkg: $depends"
done
[[ "$depends" != *gnome-terminal* ]] || fail "gnome-terminal must not be a hard dependency"

# Lintian's errors fail the test; its warnings stay in the log.
echo "== lintian"
if ! command -v lintian >/dev/null; then
    echo "SKIP: lintian not found (install lintian; scripts/install-deps.sh does): not linted"
elif ! lintian --fail-on error "$deb" >"$work/lintian.txt" 2>&1; then
    cat "$work/lintian.txt" >&2; fail "lintian reports errors on the package"
fi
cat "$work/lintian.txt" 2>/dev/null || true

# --- unpacked into an empty root, as on a machine that never saw the build ---
echo "== dpkg-deb -x"
dpkg-deb -x "$deb" "$work/root"
check_tree "$work/root/usr" "package contents"
for p in "${programs[@]}"; do
    bin=$work/root/usr/bin/$p
    file "$bin" | grep -q ', stripped' || fail "$p is not stripped in the package"
    ldd "$bin" >"$work/ldd.txt" || { cat "$work/ldd.txt" >&2; fail "ldd $p failed"; }
    if grep -q 'not found' "$work/ldd.txt"; then
        cat "$work/ldd.txt" >&2
        fail "$p needs a library that is not installed"
    fi
done

# The tools start and answer a bad option with their usage text.
for p in vrxdemo vrxloadgen vrxmonconsole; do
    status=0
    QT_QPA_PLATFORM=offscreen "$work/root/usr/bin/$p" --no-such-option >"$work/usage.txt" 2>&1 ||
        status=$?
    [ "$status" -eq 2 ] && grep -q "usage: $p" "$work/usage.txt" ||
        { cat "$work/usage.txt" >&2; fail "$p --no-such-option ended with $status"; }
done

# The program itself, with a home of its own so no settings are read or written and the
# monitor does not start (it autostarts only when settings ask for it).
echo "== starting the unpacked vrxassist"
home=$work/home
mkdir -p "$home" "$work/runtime"
chmod 700 "$work/runtime"
env -i PATH=/usr/bin:/bin HOME="$home" XDG_CONFIG_HOME="$home/.config" \
    XDG_DATA_HOME="$home/.local/share" XDG_CACHE_HOME="$home/.cache" \
    XDG_RUNTIME_DIR="$work/runtime" QT_QPA_PLATFORM=offscreen LANG=C.UTF-8 \
    "$work/root/usr/bin/vrxassist" >"$work/app.log" 2>&1 &
app_pid=$!
# It must still be running after a few seconds: long enough to build the window and enter
# the event loop, where a missing plugin or resource would have ended it.
for _ in $(seq 1 30); do
    kill -0 "$app_pid" 2>/dev/null || break
    sleep 0.1
done
if ! kill -0 "$app_pid" 2>/dev/null; then
    status=0
    wait "$app_pid" || status=$?
    app_pid=
    cat "$work/app.log" >&2
    fail "vrxassist ended on its own with status $status"
fi
kill -TERM "$app_pid"
status=0
wait "$app_pid" || status=$?
app_pid=
# 143 is SIGTERM's own ending; anything else means it crashed or failed while stopping.
if [ "$status" -ne 143 ] && [ "$status" -ne 0 ]; then
    cat "$work/app.log" >&2
    fail "vrxassist ended with status $status when asked to stop"
fi
if grep -Eiq 'could not (load|find)|cannot load|failed to load|no such file' "$work/app.log"; then
    cat "$work/app.log" >&2
    fail "vrxassist reported a loading failure"
fi

echo "packaging: installed, packaged and started vrxassist $version ($arch)"
