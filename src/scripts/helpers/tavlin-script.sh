# SPDX-License-Identifier: GPL-3.0-or-later
# What the stock scripts share; a script of yours may use it as well: . tavlin-script.sh
# It is found without a path, as the program puts its own folder last on a script's PATH. For bash.

# The paths handed to the script, in the order of the grid, in the array "paths".
paths=()
while IFS= read -r -d '' path; do paths+=("$path"); done < <(tavlin-paths -0 "$1")
[[ ${#paths[@]} -gt 0 ]] || exit 0

complain() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; }

# need TOOL PACKAGE: ends the script, saying what to install, where the tool is missing.
need() {
    command -v "$1" >/dev/null && return
    complain "needs $1, which is not installed; on Debian: apt install $2"
    exit 127
}

# put FILE TARGET: moves a finished file to TARGET, or "TARGET 2", "TARGET 3" …, never over an existing one.
put() {
    local stem=${2%.*} type=.${2##*.} target=$2 number=1
    [[ ${2##*/} == *.* ]] || { stem=$2 type=; }
    until mv -n -T -- "$1" "$target" && [[ ! -e $1 ]]; do
        [[ -e $target || -L $target ]] || return 1
        number=$((number + 1))
        target="$stem $number$type"
    done
}

# A folder for what is not finished; it goes when the script ends.
work=$(mktemp -d) || exit 1
trap 'rm -rf -- "$work"' EXIT

# beside PATH SUFFIX [TYPE]: the name of a new file beside a picture: "a.jpg" and " (small)" give "a (small).jpg".
beside() {
    local name=${1##*/} folder=${1%/*}
    local stem=$name type=
    [[ $name == ?*.* ]] && stem=${name%.*} type=.${name##*.}
    printf '%s/%s%s%s' "$folder" "$stem" "$2" "${3:-$type}"
}

# turn_all DEGREES NAME: turns every JPEG clockwise without loss, into new files beside them, called "… (turned NAME)".
turn_all() {
    need jpegtran libjpeg-turbo-progs
    need exiftool libimage-exiftool-perl
    # What sets a picture of each EXIF orientation (1 to 8) upright, as words for jpegtran.
    local upright=('' '' '-flip horizontal' '-rotate 180' '-flip vertical' '-transpose' '-rotate 90' '-transverse'
        '-rotate 270')
    local orientation first status=0
    for path in "${paths[@]}"; do
        orientation=$(exiftool -s3 -n -Orientation -- "$path" 2>/dev/null)
        [[ $orientation == [1-8] ]] || orientation=1
        read -ra first <<<"${upright[orientation]}"
        # Turning wants whole blocks of pixels; where the edge has none, jpegtran leaves that strip as it was.
        if jpegtran -copy all "${first[@]}" -outfile "$work/1.jpg" "$path" &&
            jpegtran -copy all -rotate "$1" -outfile "$work/2.jpg" "$work/1.jpg" &&
            { [[ -z $(exiftool -s3 -n -Orientation -ThumbnailOffset "$work/2.jpg") ]] ||
                exiftool -q -m -overwrite_original -n -Orientation=1 -ThumbnailImage= "$work/2.jpg"; }; then
            touch -r "$path" -- "$work/2.jpg"
            put "$work/2.jpg" "$(beside "$path" " (turned $2)")" || status=1
        else
            complain "not turned: $path"
            status=1
        fi
    done
    return $status
}
