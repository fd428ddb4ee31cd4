# Sourced by the bench scripts. Starts the stand-in on a port the system picks (no race with
# another program choosing the same one) and waits until it listens; sets standin_url and
# standin_pid. Usage: start_standin PROGRAM [ARGS...]
start_standin() {
  local program="$1" said
  shift
  said=$(mktemp)
  "$program" --port 0 "$@" >"$said" 2>/dev/null &
  standin_pid=$!
  standin_url=""
  for _ in $(seq 100); do
    standin_url=$(sed -n 's/^mireo-standin listening on \(http[^ ]*\)$/\1/p' "$said")
    [ -n "$standin_url" ] && break
    kill -0 "$standin_pid" 2>/dev/null || break
    sleep 0.05
  done
  rm -f "$said"
  standin_url="${standin_url%/}"
  [ -n "$standin_url" ] || { echo "the stand-in did not start" >&2; return 1; }
}
