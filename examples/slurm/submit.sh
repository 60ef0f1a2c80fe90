#!/bin/bash
# Compares all pairs of a list by an array of blocks and merges them.  Called again it computes only
# what is missing: blocks that failed, were cancelled, or of which a model has changed.
#
#   ./submit.sh BLOCKS models.txt [options of tervolanda]
set -euo pipefail
here=$(dirname "$0") blocks=$1 list=$2
shift 2
mkdir -p parts # the logs of tasks go there, too
missing=$(tervolanda -l "$list" "$@" --missing=parts --block="1/$blocks")
after=()
if [[ -n $missing ]]; then
    job=$(sbatch --parsable --array="$missing" "$here/block.sh" "$blocks" "$list" "$@")
    after=(--dependency="afterok:$job")
    echo "Blocks $missing of $blocks are array $job"
fi
sbatch "${after[@]}" "$here/merge.sh" "$list" "$@"
