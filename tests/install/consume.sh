#!/usr/bin/env bash
# usage: consume.sh <build dir> <consumer source dir>
set -euo pipefail
build=$1
src=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

fail() { echo "install_consume: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$prefix/lib
[ -d "$libdir/pkgconfig" ] || libdir=$(dirname "$(find "$prefix" -name zpporttw.pc)")/..

# The shared object, its SONAME and the development link.
[ -L "$libdir/libZpPortTW.so" ] || fail "no libZpPortTW.so development link"
soname=$(readelf -d "$libdir/libZpPortTW.so.2" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = "libZpPortTW.so.2" ] || fail "SONAME is '$soname'"

# Exports: plain C names, C++ signatures where typed, nothing internal.
symbols=$(nm -D --defined-only "$libdir/libZpPortTW.so.2" | awk '{print $3}')
for sym in OS_ThreadCreate OS_SemWait OS_NetGetAdaptersInfo OS_NetPing OS_EnterCriticalSection \
           PoOpen PoClose PoGetStatus PoLinkDeinit PoReadImage DllMain; do
  grep -qx "$sym" <<<"$symbols" || fail "$sym is not exported unmangled"
done
for sym in OS_GetLocalTime OS_GetTickCount CheckDiskSpace strcmpi hex2i StringToMACAddress; do
  grep -q "^_Z.*${sym}" <<<"$symbols" || fail "$sym is not exported with its C++ signature"
done
grep -q '^_ZN7CXTrace' <<<"$symbols" || fail "CXTrace is not exported"
grep -q '^_ZN9CPcbaInfo' <<<"$symbols" || fail "CPcbaInfo is not exported"
for sym in ChangeBorderEndianess SetDefaultBorder ExtractIRIGTime; do
  grep -q "^_Z.*${sym}" <<<"$symbols" || fail "$sym is not exported with its C++ signature"
done
if grep -q 'os_Thread' <<<"$symbols"; then fail "internal os_Thread* routines are exported"; fi

run() { LD_LIBRARY_PATH=$libdir "$@"; }

# 1. pkg-config, C and C++.
export PKG_CONFIG_PATH=$libdir/pkgconfig
cc -std=c11 -Wall -Werror "$src/consumer.c" $(pkg-config --cflags --libs zpporttw) -o "$work/consumer_c"
c++ -std=c++17 -Wall -Werror "$src/consumer.cpp" $(pkg-config --cflags --libs zpporttw) -o "$work/consumer_pc"
run "$work/consumer_c"
run "$work/consumer_pc"

# 2. find_package.
cmake -S "$src" -B "$work/cm" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cm" >/dev/null
run "$work/cm/consumer"

# 3. The programs and their man pages. The installed zpcam finds the installed library through
# its RUNPATH, without LD_LIBRARY_PATH.
for f in bin/zpcam bin/zpcam-sim share/man/man1/zpcam.1 share/man/man1/zpcam-sim.1; do
  [ -s "$prefix/$f" ] || fail "$f is not installed"
done
grep -q '^\.TH ZPCAM ' "$prefix/share/man/man1/zpcam.1" || fail "zpcam.1 is no man page"
loaded=$(env -u LD_LIBRARY_PATH ldd "$prefix/bin/zpcam" | sed -n 's/.*libZpPortTW\.so\.2 => \([^ ]*\).*/\1/p')
[ "$(realpath -m "$loaded")" = "$(realpath "$libdir/libZpPortTW.so.2")" ] \
  || fail "installed zpcam loads libZpPortTW.so.2 from '$loaded', not from the prefix"
for env in "env -u LD_LIBRARY_PATH" "env LD_LIBRARY_PATH=$libdir"; do
  usage=$($env "$prefix/bin/zpcam" --help) || fail "$env zpcam --help exits with status $?"
  grep -q '^Usage: .*zpcam \[OPTIONS\] SUBCOMMAND' <<<"$usage" || fail "zpcam --help prints no usage line"
done
echo "install_consume: ok"
