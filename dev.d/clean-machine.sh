# shellcheck shell=bash
# ./dev clean-machine: the two commands of the README on a Debian that has nothing yet.

readonly MACHINES=$ROOT/build/clean-machine

dev_clean_machine() {
    local user=root release=12 command=('./dev run && ./dev test') containers='' argument lock
    while [ $# -gt 0 ]; do
        argument=$1
        shift
        case $argument in
            root | user) user=$argument ;;
            12 | 13) release=$argument ;;
            --containers) containers=1 ;;
            --)
                [ $# -gt 0 ] || die "clean-machine: a command is needed after --"
                command=("${*@Q}")
                break
                ;;
            *) die "clean-machine: unknown argument $argument" ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || die "clean-machine has to be run by root, for it makes a root file system"
    need debootstrap systemd-container git
    mkdir -p "$MACHINES/archives/$release"
    exec {lock}>"$MACHINES/lock"
    flock --nonblock "$lock" || die "clean-machine: another one is at work"
    base_system "$release"
    # Git does not read the repository of somebody else without being told to.
    git -c "safe.directory=$ROOT" bundle create --quiet "$MACHINES/prompt.bundle" HEAD

    local machine=$MACHINES/$user-$release log=$MACHINES/$user-$release.log status=0
    rm -rf --one-file-system "$machine"
    cp -a "$MACHINES/base-$release" "$machine"
    [ "$user" = root ] || add_user "$machine" "$user"
    say "Debian $release, everything by ${user}; the log is ${log#"$ROOT"/}"
    end_children_at_exit
    enter_machine "$machine" "$user" "$release" "${command[0]}" >"$log" 2>&1 &
    local container=$!
    keep "$container"
    tail -n +1 -F --pid "$container" "$log" 2>/dev/null |
        grep --line-buffered -E '^(== |dev: |[0-9]+% tests passed)' || true
    wait "$container" || status=$?
    say "the end of the log"
    tail -n 12 "$log"
    if [ "$status" -eq 0 ]; then
        rm -rf --one-file-system "$machine"
        say "passed on Debian $release by $user"
    else
        say "ended with the status ${status}; the machine is left in ${machine#"$ROOT"/}"
    fi
    return "$status"
}

# base_system RELEASE : a minimal system that is made once and never entered.
base_system() {
    local base=$MACHINES/base-$1 suites=([12]=bookworm [13]=trixie) mirror
    [ ! -d "$base" ] || return 0
    mirror=$(grep -rhoEm 1 'https?://[^ ]+/debian/?( |$)' /etc/apt/ --include='*.list' \
        --include='*.sources' | sed -n 1p) || true
    say "making Debian $1 from ${mirror:=http://deb.debian.org/debian}"
    rm -rf --one-file-system "$base.new"
    quietly debootstrap --variant=minbase --include=git,ca-certificates,sudo \
        "${suites[$1]}" "$base.new" "${mirror% }"
    # How this machine reaches the archive, but nothing that throws away what has been fetched.
    cp -r /etc/apt/apt.conf.d "$base.new/etc/apt/"
    {
        printf '#clear %s;\n' DPkg::Post-Invoke APT::Update::Post-Invoke
        # A package that brings one of these files finds another one there.
        printf 'Dpkg::Options:: "--force-confold";\n'
    } >"$base.new/etc/apt/apt.conf.d/99clean-machine"
    mv "$base.new" "$base"
}

# add_user MACHINE NAME : an ordinary user with a home of their own who may become root by sudo.
add_user() {
    chroot "$1" useradd --create-home --shell /bin/bash "$2"
    chmod 700 "$1/home/$2"
    printf '%s ALL=(ALL) NOPASSWD: ALL\n' "$2" >"$1/etc/sudoers.d/$2"
    chmod 440 "$1/etc/sudoers.d/$2"
}

# enter_machine MACHINE USER RELEASE COMMAND : runs it in a new checkout below the user's home. As on
# a machine, and not in a container, memory may be locked; and containers be made where the variable
# "containers" says so.
enter_machine() {
    local rights=(--system-call-filter=@memlock)
    if [ -n "$containers" ]; then
        rights=(--system-call-filter=@known --capability=all)
        export SYSTEMD_NSPAWN_API_VFS_WRITABLE=yes SYSTEMD_NSPAWN_UNIFIED_HIERARCHY=1
    fi
    exec systemd-nspawn --quiet --directory "$1" --machine "prompt-$2-$3" --register=no --keep-unit \
        --resolv-conf=copy-host --console=pipe --user "$2" \
        "${rights[@]}" \
        --bind "$MACHINES/archives/$3:/var/cache/apt/archives" \
        --bind-ro "$MACHINES/prompt.bundle:/srv/prompt.bundle" \
        /bin/bash -c "cd && git -c advice.detachedHead=false clone --quiet /srv/prompt.bundle prompt && cd prompt && $4" </dev/null
}
