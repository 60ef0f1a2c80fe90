#!/bin/bash
# Compares all pairs of a list by blocks, so many at once, with GNU parallel, and merges them.
#
#   ./compare.sh BLOCKS models.txt [options of tervolanda] > result.txt
#
# Called again it computes only what is missing.  With --sshloginfile machines (and a folder that
# all of them see) the blocks run on several machines.
set -euo pipefail
blocks=$1 list=$2
shift 2
mkdir -p parts
# The job log goes by the numbers of jobs and not by their commands: a log of other arguments would
# skip blocks wrongly.  So every call has its own, and --missing says what is to be done.
tervolanda -l "$list" "$@" --missing=parts --block="1/$blocks" | tr ',' '\n' |
    awk -F- 'NF {for (i = $1; i <= $NF; ++i) print i}' |
    parallel --will-cite --joblog "parts/jobs.$$" --retries 3 \
        tervolanda -l "$list" "$@" --resume --block={}/"$blocks" --part=parts/{}.part \
        '>' parts/{}.log '2>&1'
tervolanda -l "$list" "$@" --merge=parts
