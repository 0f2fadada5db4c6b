# shellcheck shell=bash
# Sourced by the other scripts: what somebody who waits sees. Nothing stays silent for ten seconds.

# clock <seconds>: 75 as 1:15.
clock() { printf '%d:%02d' $(($1 / 60)) $(($1 % 60)); }

# On a terminal the line of now moves; elsewhere a plain line comes when the last one is eight seconds old.
_moving=''
[ -t 2 ] && _moving=1
_shown=0

# _show <text>: where the work stands.
_show() {
  if [ -n "$_moving" ]; then
    printf '\r\033[K  %s' "$1" >&2
  elif ((SECONDS - _shown >= 8)); then
    printf '  %s\n' "$1" >&2
    _shown=$SECONDS
  fi
}

_clear() { if [ -n "$_moving" ]; then printf '\r\033[K' >&2; fi; }

# _position <line>: sets `position` to the share of the work that a line of output tells, as ninja
# ("[ 37%] Building ...") and apt ("dlstatus:1:37.2:Retrieving ...", "pmstatus:cmake:37.2:Unpacking ...") do.
_position() {
  case $1 in
    '['*%']'*) position="${1:1:4}" && position="${position// /}" ;;
    dlstatus:* | pmstatus:*)
      local fields
      IFS=: read -r -a fields <<<"$1"
      position="${fields[2]%%.*}%"
      [ "${fields[0]}" = dlstatus ] && position="download $position" || position="install $position" ;;
  esac
}

# run_to_log <label> <log> <command> ...: runs the command with its output in the log, and shows how far it is.
# When it fails, the end of the log is shown.
run_to_log() {
  local label=$1 log=$2 line='' position='' status=0 start=$SECONDS
  shift 2
  _shown=$SECONDS
  # Not a pipeline: its status would be that of the last command, and this loop would run in a subshell.
  exec {output}< <(NINJA_STATUS='[%p] ' "$@" 2>&1 </dev/null | tee "$log"; exit "${PIPESTATUS[0]}")
  local job=$!
  while true; do
    if IFS= read -r -t 1 -u "$output" line; then
      _position "$line"
    elif (($? <= 128)); then
      break  # the end, not a second without a line
    fi
    _show "$label${position:+: $position}, $(clock $((SECONDS - start)))"
  done
  exec {output}<&-
  wait "$job" || status=$?
  _clear
  if ((status != 0)); then
    tail -n 60 "$log" >&2
    echo "$label: failed after $(clock $((SECONDS - start))); all of its output: $log" >&2
  else
    echo "  $label: $(clock $((SECONDS - start)))"
  fi
  return "$status"
}

# run_aloud <label> <command> ...: runs the command, passes its output on, and says during its silences that it runs.
run_aloud() {
  local label=$1 line='' part='' status=0 start=$SECONDS
  shift
  _shown=$SECONDS
  exec {output}< <("$@" 2>&1 </dev/null)
  local job=$!
  while true; do
    if IFS= read -r -t 1 -u "$output" line; then
      _clear
      printf '%s\n' "$part$line"
      part='' _shown=$SECONDS
    elif (($? > 128)); then
      part+=$line  # a line that is not complete yet
      _show "$label, $(clock $((SECONDS - start)))"
    else
      break
    fi
  done
  exec {output}<&-
  _clear
  printf '%s' "$part$line"
  wait "$job" || status=$?
  return "$status"
}
