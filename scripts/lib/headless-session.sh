# Sourced by the package scripts: a private X server and session bus; stop_headless_session ends them.
#   start_headless_session WORKDIR   sets DISPLAY and DBUS_SESSION_BUS_ADDRESS for what follows
#   bus_has_owner NAME               true while NAME is owned on that bus

start_headless_session() {
    local work=$1
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" 2>/dev/null &
    headless_xvfb=$!
    for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.05; done
    [ -s "$work/display" ] || { echo "Xvfb did not start" >&2; return 1; }
    export DISPLAY=":$(head -1 "$work/display")"
    local bus
    bus=$(dbus-daemon --session --fork --print-address=1 --print-pid=1)
    export DBUS_SESSION_BUS_ADDRESS=$(head -1 <<<"$bus")
    headless_bus=$(tail -1 <<<"$bus")
    export XDG_SESSION_TYPE=x11
    unset WAYLAND_DISPLAY
}

stop_headless_session() {
    kill "${headless_bus:-}" "${headless_xvfb:-}" 2>/dev/null || true
}

bus_has_owner() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.NameHasOwner "string:$1" 2>/dev/null | grep -q 'boolean true'
}
