#!/usr/bin/env bash
# private_system.sh BUILD USER PROGRAM [ARGUMENT...]: runs the program as an ordinary user of a system of its own, with
# the machine's programs but with its own /Applications, system bus, polkitd, users and an installation of the launcher
# from the build folder in /opt/ferrolt. The user's name says what happens when pkexec asks polkit:
#   installed   is authorised for the installed helper's own action, and for nothing else
#   checkout    is authorised to run /bin/sh, and nothing else; the program runs outside of the installation
#   refused     is not authorised
#   unasked     would have to authenticate, but there is no agent that could ask; is at a terminal
#   bare        has no 7-Zip
#   stand-in    has the set-user-id program beside PROGRAM in pkexec's place, which asks nobody; else as checkout
# Exits with the program's status, or with 200 where no such system can be made.
set -euo pipefail

readonly build=$1 user=$2 program=$3
shift 3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tools/processes.sh
source "$here/../../tools/processes.sh"
readonly root=/mnt # a folder that every system has; what is mounted there is seen in this namespace only

if [[ -z ${FERROLT_PRIVATE_SYSTEM:-} ]]; then
    "$here/as_root.sh" unshare --mount --pid --fork --kill-child --mount-proc \
        setpriv --reuid=61001 --clear-groups true || {
        printf 'This user can make no mount and process namespace with other users.\n' >&2
        exit 200
    }
    exec "$here/as_root.sh" unshare --mount --pid --fork --kill-child --mount-proc \
        env FERROLT_PRIVATE_SYSTEM=yes "$here/private_system.sh" "$build" "$user" "$program" "$@"
fi

trap 'printf "%s: line %s failed.\n" "$0" "$LINENO" >&2' ERR
umask 022
mount -t tmpfs -o mode=755 root "$root"
for entry in /*; do
    case $entry in
        /Applications | /mnt | /opt | /root | /run | /tmp) ;;
        *)
            if [[ -L $entry ]]; then
                cp -P "$entry" "$root/"
            elif [[ -d $entry ]]; then
                mkdir "$root$entry"
                mount --rbind "$entry" "$root$entry"
            fi
            ;;
    esac
done
mkdir -p "$root"/{opt,run/dbus,private}
mkdir -m 700 "$root/root" # pkexec changes to it
mkdir -m 1777 "$root/tmp"
mkdir -m 1777 "$root/tmp/home"

# replace PATH: a copy of a file or folder of the machine's that can be changed, in its place.
replace() {
    local copy=$root/private/${1//\//_}
    cp -a "$1" "$copy"
    mount --bind "$copy" "$root$1"
}

replace /etc/passwd
replace /etc/group
id=61000
for name in installed checkout refused unasked bare stand-in; do
    id=$((id + 1))
    printf '%s:x:%s:%s::/tmp/home:/bin/sh\n' "$name" "$id" "$id" >>"$root/etc/passwd"
    printf '%s:x:%s:\n' "$name" "$id" >>"$root/etc/group"
done

# What `cmake --install` runs, but for the list of files that it leaves in the build folder: root's would be in the way.
DESTDIR=$root cmake -D CMAKE_INSTALL_PREFIX=/opt/ferrolt -P "$build/packaging/cmake_install.cmake" >/dev/null
replace /usr/share/polkit-1/actions
cp "$root"/opt/ferrolt/share/polkit-1/actions/*.policy "$root/usr/share/polkit-1/actions/"
action=$(sed -n 's/.*<action id="\(.*\)">.*/\1/p' "$root"/opt/ferrolt/share/polkit-1/actions/*.policy)
mkdir "$root/private/rules.d"
cat >"$root/private/rules.d/10-answers.rules" <<RULES
polkit.addRule(function(action, subject) {
    if (subject.user == "refused")
        return polkit.Result.NO;
    if (subject.user == "installed" && action.id == "$action")
        return polkit.Result.YES;
    if (subject.user == "checkout" && action.id == "org.freedesktop.policykit.exec" &&
        /^(\/usr)?\/bin\/(sh|dash)$/.test(action.lookup("program")))
        return polkit.Result.YES;
    if (subject.user == "unasked")
        return polkit.Result.AUTH_ADMIN;
    return polkit.Result.NO;
});
RULES
mount --bind "$root/private/rules.d" "$root/etc/polkit-1/rules.d"

if [[ $user == bare ]]; then
    for archiver in "$root"/usr/bin/7z*; do
        mount --bind /dev/null "$archiver"
    done
fi

# The files of a user namespace's machine do not belong to its root, and set-user-id means nothing for them.
replace /usr/bin/pkexec
if [[ $user == stand-in ]]; then
    cat "$(dirname "$program")/pkexec-stand-in" >"$root/usr/bin/pkexec"
fi
chown root:root "$root/usr/bin/pkexec"
chmod 4755 "$root/usr/bin/pkexec"

bin=/opt/checkout/bin
if [[ $user == installed ]]; then
    bin=/opt/ferrolt/bin
fi
mkdir -p "$root$bin"
cp "$program" "$root$bin/"

# The bus would start polkitd by a set-user-id program, which a user namespace does not have.
mount -t tmpfs services "$root/usr/share/dbus-1/system-services"
chroot "$root" dbus-daemon --system --nofork --nopidfile --nosyslog >"$root/private/bus.log" 2>&1 &
wait_until 30 test -S "$root/run/dbus/system_bus_socket"
chroot "$root" /usr/lib/polkit-1/polkitd --no-debug >"$root/private/polkitd.log" 2>&1 &
# shellcheck disable=SC2317  # called by wait_until
knows_action() {
    chroot "$root" pkaction --action-id "$action" >"$root/private/pkaction.log" 2>&1
}
wait_until 30 knows_action || {
    cat "$root"/private/*.log
    exit 1
}

if [[ $user == refused || $user == unasked ]]; then
    mkdir -p "$root/Applications/LibreOffice.app"
    printf 'old\n' >"$root/Applications/LibreOffice.app/old"
fi

command=(chroot "$root" setpriv --reuid="$user" --regid="$user" --init-groups --reset-env --
    env LC_ALL=C.UTF-8 "$bin/$(basename "$program")" "$@")
if [[ $user == unasked ]]; then
    command=(script --quiet --return --command "${command[*]@Q}" /dev/null)
fi
status=0
"${command[@]}" || status=$?
exit "$status"
