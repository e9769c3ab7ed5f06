#!/bin/bash
# Makes a JPEG of at most 1600 pixels a side of each selected picture, upright and with its metadata, beside it.
. tavlin-script.sh
need vipsthumbnail libvips-tools

status=0
for path in "${paths[@]}"; do
    # The tool reads options out of file names, so it gets one that holds none.
    ln -sfT -- "$path" "$work/picture"
    if vipsthumbnail "$work/picture" --size '1600x1600>' -o "$work/small.jpg[Q=90,optimize_coding]"; then
        put "$work/small.jpg" "$(beside "$path" ' (1600)' .jpg)" || status=1
    else
        complain "not resized: $path"
        status=1
    fi
done
exit $status
