#!/bin/bash
# Turns the selected JPEGs a quarter left without loss, into new files beside them.
. tavlin-script.sh
turn_all 270 left
