#!/usr/bin/env bash
# Installs what is missing of the named groups of cmake/debian-packages.txt. Asks the package
# system first, so that a machine which has everything needs neither network nor rights.
#
#   cmake/install-packages.sh build demo
set -euo pipefail

list="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/debian-packages.txt"

fail() {
  echo "install-packages.sh: $*" >&2
  exit 1
}

# Prints the packages of a group.
packages_of() {
  awk -v group="$1" '!/^#/ && NF { n = split($2, groups, ",")
    for (i = 1; i <= n; ++i) if (groups[i] == group) print $1 }' "$list"
}

is_installed() {
  [[ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" == installed ]]
}

(($# > 0)) || fail "name at least one group: build, demo, test, bench, doc, lint, nt"

missing=()
for group in "$@"; do
  mapfile -t packages < <(packages_of "$group")
  ((${#packages[@]} > 0)) || fail "no group '$group' in $list"
  command -v dpkg-query >/dev/null ||
    fail "no dpkg on this machine; install what stands for these here: ${packages[*]}"
  for package in "${packages[@]}"; do
    is_installed "$package" || missing+=("$package")
  done
done
((${#missing[@]} > 0)) || exit 0
mapfile -t missing < <(printf '%s\n' "${missing[@]}" | sort -u)

as_root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null ||
    fail "these packages are missing, and installing them needs root or sudo: ${missing[*]}"
  as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q)
"${apt[@]}" update
"${apt[@]}" install -y --no-install-recommends "${missing[@]}"
