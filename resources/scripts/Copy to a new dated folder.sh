#!/bin/bash
# Copies the selected files into a new folder with today's date, beside the first of them.
. tavlin-script.sh

stem=${paths[0]%/*}/$(date +%Y-%m-%d)
folder=$stem number=1
until mkdir -- "$folder" 2>/dev/null; do
    [[ -e $folder || -L $folder ]] || { complain "cannot make the folder $folder"; exit 1; }
    number=$((number + 1)) folder="$stem $number"
done

status=0
for path in "${paths[@]}"; do
    # A copy is made under another name first, as files of several folders may be called the same.
    copy=$(mktemp -d -p "$folder") || exit 1
    if ! { cp -a -- "$path" "$copy/" && put "$copy/${path##*/}" "$folder/${path##*/}"; }; then
        complain "not copied: $path"
        status=1
    fi
    rm -rf -- "$copy"
done
exit $status
