#!/usr/bin/env bash
# Compiles every client source for Windows, syntax only, with Debian's MinGW-w64 compiler against Debian's Qt headers.
# usage: check_windows.sh [WORK FOLDER]
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cd "$top"
work=${1:-build/windows}
mkdir -p "$work"
work=$(cd "$work" && pwd)
qt=$(qmake -query QT_INSTALL_HEADERS 2>/dev/null || echo /usr/include/x86_64-linux-gnu/qt5)
arch=$(dirname "$qt")

# Headers of header-only and C libraries, linked one by one: /usr/include itself would bring in the host's C library.
rm -rf "$work/include"
mkdir -p "$work/include/openssl"
for name in nlohmann spdlog fmt asio asio.hpp xxhash.h xxh3.h zlib.h zconf.h OpenEXR Imath; do
    [ ! -e "/usr/include/$name" ] || ln -s "/usr/include/$name" "$work/include/$name"
done
ln -s /usr/include/openssl/* "$work/include/openssl/"
for name in "$arch"/openssl/*; do ln -sf "$name" "$work/include/openssl/"; done

flags=(-std=c++17 -fsyntax-only -Wall -Wextra -Werror -Wno-unknown-pragmas -Wno-unused-function
       -Wno-cast-function-type -Wno-attributes
       -DUNICODE -D_UNICODE -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0A00 -DQT_NO_CAST_FROM_BYTEARRAY
       -DASIO_STANDALONE -DSPDLOG_FMT_EXTERNAL
       -isystem "$work/include" -isystem "$work/include/OpenEXR" -isystem "$work/include/Imath" -isystem "$qt")
for module in QtCore QtGui QtWidgets QtNetwork QtSql QtWebSockets QtSvg QtConcurrent; do
    flags+=(-isystem "$qt/$module")
done
client=(app session drive transfer share bridge ui imports crashdialog resources)
list() { git ls-files -co --exclude-standard -- "${client[@]}"; }
while read -r folder; do flags+=("-I$folder"); done < <(list | grep '\.h$' | xargs -n1 dirname | sort -u)
mapfile -t sources < <(list | grep '\.cpp$' | grep -v '_posix\.cpp$')
[ ${#sources[@]} -gt 0 ] || { echo "no sources found"; exit 1; }
printf '%s\n' "${flags[@]}" >"$work/flags"
failed=0
printf '%s\0' "${sources[@]}" | xargs -0 -P "$(nproc)" -n 1 \
    sh -c 'x86_64-w64-mingw32-g++-posix @"$0" "$1" || { echo "for Windows: $1 failed"; exit 1; }' "$work/flags" || failed=1
echo "${#sources[@]} sources compiled for Windows, syntax only"
exit "$failed"
