# SPDX-License-Identifier: GPL-3.0-or-later
# What the commands of this folder share; sourced, not run.
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

# packages KIND...: the package names of these kinds in dependencies.txt.
packages() {
    local kinds=" $* " kind name rest
    while read -r kind name rest; do
        case $kind in '' | '#'*) continue ;; esac
        if [[ $kinds == *" $kind "* ]]; then printf '%s\n' "$name"; fi
    done <"$top/tools/dependencies.txt"
}

# install_missing KIND...: installs what is not there yet; says what to do where that is impossible.
install_missing() {
    local missing=() name
    if ! command -v dpkg-query >/dev/null; then
        say "This system has no apt. Install what corresponds to these Debian packages, if they are not there yet:"
        packages "$@" | sed 's/^/  /' >&2
        return 0
    fi
    for name in $(packages "$@"); do
        [[ $(dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null) == installed ]] || missing+=("$name")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    local as_root=()
    if [[ $(id -u) -ne 0 ]]; then
        command -v sudo >/dev/null || die "Missing packages, and no sudo to install them: ${missing[*]}"
        as_root=(sudo)
    fi
    say "Installing: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq </dev/null >&2 || say "apt-get update failed; trying with the lists at hand"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" </dev/null >&2 || die "Could not install: ${missing[*]}"
}

# build PRESET [--target TARGET] [cmake option...]: configures and builds. In CI, where all is built anew, the everyday build
# too puts many files into one, and its warnings are errors; under the sanitizers they are not, as these confuse the flow
# analysis.
build() {
    local preset=$1 target=()
    shift
    [[ ${1:-} != --target ]] || { target=(--target "$2"); shift 2; }
    [[ ${CI:-} != true || $preset != dev ]] || set -- -DCMAKE_UNITY_BUILD=ON -DTAVLIN_WARNINGS_AS_ERRORS=ON "$@"
    (cd "$top" && cmake --preset "$preset" "$@" >/dev/null && cmake --build --preset "$preset" "${target[@]}") >&2 ||
        die "The build ($preset) failed."
}
