#!/usr/bin/env bash
# One task of the job array: one shard. Submitted by run.sh, or by hand: sbatch --array=3 shard.sh 16 STATE DATA OUT
#
#SBATCH --job-name=telvar-batch
#SBATCH --ntasks=1
#SBATCH --cpus-per-task=2
set -euo pipefail

shards=$1 state=$2 data=$3 out=$4
# The number of shards is given, not SLURM_ARRAY_TASK_COUNT: that is 1 when one shard is repeated.
shard=$SLURM_ARRAY_TASK_ID/$shards
code=0
telvar batch --state "$state" --data "$data" --out "$out" --shard "$shard" || code=$?
# 3 with results: some images could not be processed, and will not be the next time. The merged results name them.
if [ "$code" = 3 ] && [ -f "$out/shard-${shard/\//-of-}/results.json" ]; then
  code=0
fi
exit "$code"
