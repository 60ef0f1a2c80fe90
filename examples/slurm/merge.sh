#!/bin/bash
# What one run over all pairs would have done, from the parts.  All options of the blocks, -L 2, -C
# and the like go here, too.
#
#   sbatch --dependency=afterok:JOB merge.sh models.txt [options of tervolanda]
#SBATCH --job-name=tervolanda-merge
#SBATCH --output=result.txt
#SBATCH --kill-on-invalid-dep=yes
list=$1
shift
exec tervolanda -l "$list" "$@" --merge=parts
