# Shared by the scripts beside it: where the project is, what a machine needs, and how to build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n== %s\n' "$*"; }
die() { printf '%s: %s\n' "${0##*/}" "$*" >&2; exit 1; }

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"
  elif command -v sudo >/dev/null; then sudo "$@"
  else die "cannot install packages without root or sudo: $*"
  fi
}

# need PACKAGE...: installs those that are missing.
need() {
  command -v apt-get >/dev/null || { printf 'not a Debian or Ubuntu machine; needed: %s\n' "$*"; return 0; }
  local missing
  # shellcheck disable=SC2046
  missing=$(printf '%s\n' "$@" | grep -vxF "$(
    dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' "$@" 2>/dev/null | sed -n 's/^ii //p'
  )" || true)
  [ -n "$missing" ] || return 0
  say "installing" $missing
  as_root apt-get update -qq || true
  # shellcheck disable=SC2086
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
}

BUILD_PACKAGES="g++ cmake ninja-build pkg-config libcli11-dev nlohmann-json3-dev libfmt-dev libevdev-dev \
zlib1g-dev libminizip-dev libtomlplusplus-dev"
TEST_PACKAGES="libgtest-dev libgmock-dev e2fsprogs f2fs-tools unzip libarchive-tools python3 libvalijson-dev"

# rooms: the library's rooms, from the ground up.
rooms() { sed -n 's/^[0-9]* \([a-z]*\)$/\1/p' rooms.txt; }

# fuzz_targets: one a line; each is a file.
fuzz_targets() { basename -s .cpp -a fuzz/fuzz_*.cpp; }

# build PRESET [CMAKE-OPTION...] [-- TARGET...]: configures by a preset of CMakePresets.json, whose folder is "build" or
# "build-PRESET", and builds there.
build() {
  local folder=build-$1 options=(--preset "$1" -DATD_WERROR=ON); shift
  folder=${folder%-default}
  while [ $# -gt 0 ] && [ "$1" != -- ]; do options+=("$1"); shift; done
  [ $# -eq 0 ] || shift
  cmake "${options[@]}" >"$folder.log" 2>&1 || { cat "$folder.log" >&2; die "cannot configure $folder"; }
  mv "$folder.log" "$folder/configure.log"
  ninja -C "$folder" --quiet "$@" || die "the build in $folder failed"
}
