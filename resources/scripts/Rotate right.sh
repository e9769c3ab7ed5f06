#!/bin/bash
# Turns the selected JPEGs a quarter right without loss, into new files beside them.
. tavlin-script.sh
turn_all 90 right
