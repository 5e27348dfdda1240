# Sourced by the scripts run on the program: $1 is VARNOK. A failing script shows its console.
varnok=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
dir=$(mktemp -d)
trap 'rc=$?; [ $rc -eq 0 ] || cat "$dir/console" >&2; rm -rf "$dir"' EXIT
fail() { echo "$*" >&2; exit 1; }
# libfaketime itself, not its wrapper, which refuses to start while a killed
# run's semaphore holds its process id: FAKETIME=... $clock PROGRAM.
clock="env TZ=UTC LD_PRELOAD=$(ls /usr/lib/*/faketime/libfaketime.so.1 | head -n 1)"
