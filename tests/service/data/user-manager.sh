#!/bin/sh
# Runs systemd's manager of a user's units for the user with the number $1 and the home $2, on any machine and in any
# container where root may make namespaces: what systemd expects to find of a machine that it started itself is there
# for this process tree only. Carries out the lines of its standard input as that user, and ends with it.
set -e
user=$1 home=$2
if [ "${3:-}" != inside ]; then
    tree=$(mktemp -d)
    mount --make-rprivate /
    mount -t cgroup2 none "$tree"
    group=$tree/krx-test-$$
    mkdir "$group"
    trap 'find "$group" -depth -type d -exec rmdir {} +; umount "$tree"; rmdir "$tree"' EXIT
    sh -c 'echo $$ >"$0/cgroup.procs" && exec "$@"' "$group" \
        unshare --cgroup --mount --pid --fork --kill-child --mount-proc sh "$0" "$user" "$home" inside
    exit
fi

mount -t tmpfs -o mode=755 none /run
export XDG_RUNTIME_DIR="/run/user/$user" HOME="$home"
mkdir -p /run/systemd/system "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
mount -t tmpfs none /sys/fs/cgroup
mount -t cgroup2 none /sys/fs/cgroup
chown "$user:$user" "$XDG_RUNTIME_DIR" /sys/fs/cgroup /sys/fs/cgroup/cgroup.procs
unset DBUS_SESSION_BUS_ADDRESS XDG_CONFIG_HOME XDG_DATA_HOME XDG_STATE_HOME
cd /
as_user="setpriv --reuid $user --regid $user --clear-groups"
$as_user /lib/systemd/systemd --user --log-target=console --log-level=info </dev/null >"$home/manager.log" 2>&1 &
# Asked until it is there.
until $as_user systemctl --user is-system-running --wait >/dev/null 2>&1; do
    kill -0 $! || { cat "$home/manager.log"; exit 1; }
done
echo ready
while read -r line; do
    code=0
    $as_user sh -c "$line" </dev/null 2>&1 || code=$?
    printf '\n=%s=\n' "$code"
done
