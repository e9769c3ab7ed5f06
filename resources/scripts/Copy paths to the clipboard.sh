#!/bin/bash
# Puts the selected files' paths on the clipboard, one a line.
. tavlin-script.sh

if [[ -n ${WAYLAND_DISPLAY:-} ]] && command -v wl-copy >/dev/null; then
    tavlin-paths "$1" | wl-copy
else
    need xclip xclip
    tavlin-paths "$1" | xclip -in -selection clipboard
fi
