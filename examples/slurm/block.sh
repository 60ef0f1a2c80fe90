#!/bin/bash
# One block of the comparison of all pairs of a list: a task of an array.
#
#   sbatch --array=1-BLOCKS block.sh BLOCKS models.txt [options of tervolanda]
#
# The number of blocks is an argument: SLURM_ARRAY_TASK_COUNT is 1 when a single task is sent again.
#SBATCH --job-name=tervolanda
#SBATCH --cpus-per-task=1
#SBATCH --requeue
#SBATCH --output=parts/%a.log
#SBATCH --open-mode=truncate
blocks=$1 list=$2
shift 2
mkdir -p parts
exec tervolanda -l "$list" "$@" --threads="${SLURM_CPUS_PER_TASK:-1}" --resume \
    --block="$SLURM_ARRAY_TASK_ID/$blocks" --part="parts/$SLURM_ARRAY_TASK_ID.part"
