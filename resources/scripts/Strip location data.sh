#!/bin/bash
# Makes a copy of each selected picture without the place where it was taken, beside it.
. tavlin-script.sh
need exiftool libimage-exiftool-perl

status=0
for path in "${paths[@]}"; do
    # The copy keeps the name's ending, as the tool goes by it.
    copy="$work/copy${path##*/}"
    copy="$work/copy.${copy##*.}"
    if cp -- "$path" "$copy" &&
        exiftool -q -m -P -overwrite_original '-gps:all=' '-gps*=' '-xmp:geotag=' '-xmp:locationshown*=' \
            '-xmp:locationcreated*=' "$copy"; then
        put "$copy" "$(beside "$path" ' (no location)')" || status=1
    else
        complain "not copied: $path"
        status=1
    fi
    rm -f -- "$copy"
done
exit $status
