#!/bin/sh
# The command as "reelhaul --cold" would be: the tests of runs out of the warm tool, without it.
command=$1
case $command in
info | get) shift && exec "$REELHAUL_WARM_COMMAND" "$command" --cold "$@" ;;
*) exec "$REELHAUL_WARM_COMMAND" "$@" ;;
esac
