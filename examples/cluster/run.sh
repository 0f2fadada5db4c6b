#!/usr/bin/env bash
# Processes a folder of images on a Slurm cluster: one job array, failed shards again, one result.
#
#   ./run.sh SHARDS STATE DATA OUT [sbatch option ...]
#   ./run.sh 16 parts.telvar today/ results/ --partition=day --time=01:00:00
#
# Paths must mean the same on every node. Waits for the jobs, so start it where it may run as long as they do (tmux, or
# a job of its own). ROUNDS (default 3) is how often a shard is tried. The exit code is that of `telvar merge`, or 1
# when shards are missing after the last round; the same command goes on from there.
set -euo pipefail

[ $# -ge 4 ] || { sed -n '4,5s/^# *//p' "$0" >&2; exit 2; }
shards=$1 state=$2 data=$3 out=$4
options=("${@:5}")
rounds=${ROUNDS:-3}
mkdir -p "$out"

# The shards without results, as Slurm writes lists: 2,7
unfinished() {
  local list=
  for ((i = 1; i <= shards; ++i)); do
    [ -f "$out/shard-$i-of-$shards/results.json" ] || list+=${list:+,}$i
  done
  echo "$list"
}

# All of them first: whether results that are there are still those of this state and these images, `batch` knows.
missing=1-$shards
for ((round = 1; round <= rounds; ++round)); do
  echo "round $round: shards $missing"
  # How the array ends says less than which results are there.
  sbatch --quiet --wait --array="$missing" --output="$out/shard-%a.log" "${options[@]}" \
    "$(dirname "$0")/shard.sh" "$shards" "$state" "$data" "$out" || true
  missing=$(unfinished)
  [ -n "$missing" ] || break
done
if [ -n "$missing" ]; then
  echo "without results after $rounds rounds: shards $missing of $shards; see $out/shard-*.log" >&2
  exit 1
fi
telvar merge --out "$out"
