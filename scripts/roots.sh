# Debian systems of their own to test in, each below a folder, its root. For scripts to source from the
# top folder. A root stays in VU_ROOTS, or in libvu/ of the user's cache folder, where every clone
# finds it; remove it to start afresh.
# shellcheck shell=sh

# A root that is made, or a command in it, that takes longer than this hangs.
limit=40m

# Says what keeps this process from entering a root. It tries, for a container may take from root any
# part of root's rights.
obstacle() {
  if [ "$(id -u)" != 0 ]; then
    echo "this needs root"
  elif ! unshare --mount --pid --fork mount -t proc proc /proc 2>/dev/null; then
    echo "this process may not mount (CAP_SYS_ADMIN)"
  elif ! chroot / true 2>/dev/null; then
    echo "this process may not change its root (CAP_SYS_CHROOT)"
  fi
}

# Runs a command that takes the root's folder as its last argument; one at a time for each root.
# However the script ends, all that it has started ends with that command, and with that its mounts,
# which nobody else ever saw. Usage: with_root NAME COMMAND...
with_root() {
  root=$(realpath -m "${VU_ROOTS:-${XDG_CACHE_HOME:-$HOME/.cache}/libvu}/$1")
  shift
  if [ -e "$root" ] && [ ! -e "$root/made-for-libvu" ]; then
    echo "$root is there, but no script of ours has made it." >&2
    exit 1
  fi
  mkdir -p "$(dirname "$root")"
  exec 9>"$root.lock"
  if ! flock --nonblock 9; then
    echo "Waiting for another run in $root"
    flock 9
  fi
  unshare --mount --propagation private --pid --fork --kill-child "$@" "$root" &
  inside=$!
  trap 'kill -KILL $inside 2>/dev/null || true' EXIT
  trap 'exit 1' HUP INT TERM
  status=0
  wait $inside || status=$?
  trap - EXIT
  return $status
}

# Makes the root unless it is there with the same packages, from the archive that this machine's own
# packages come from. Usage: make_root ARCHITECTURE PACKAGE,...
make_root() {
  suite=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
  mirror=$(apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    awk -v suite="$suite" '$2 == suite && $3 == "main" && !found { found = 1; print $1 }')
  if [ -z "$mirror" ]; then
    echo "apt knows no archive of this Debian release, \"$suite\"." >&2
    exit 1
  fi
  made="$suite $mirror $*"
  if [ "$(cat "$root/made-for-libvu" 2>/dev/null)" = "$made" ]; then return; fi

  echo "Making a Debian root in $root"
  # A root that is not whole never has the name of one, not even while it is removed.
  rm -rf --one-file-system "$root.old" "$root.new"
  [ ! -e "$root" ] || mv "$root" "$root.old"
  rm -rf --one-file-system "$root.old"
  if ! timeout --kill-after=10 $limit debootstrap --arch="$1" --variant=minbase --include="$2" \
         "$suite" "$root.new" "$mirror" >"$root.log" 2>&1; then
    tail -n 20 "$root.log" >&2
    echo "Making the root failed; all that debootstrap said is in $root.log." >&2
    exit 1
  fi
  echo "$made" >"$root.new/made-for-libvu"
  mv "$root.new" "$root"
}

# Gives the root what a running system has, and this machine's settings of the network. What runs in
# it may mount, too, if its root is a mount itself.
open_root() {
  mount --bind "$root" "$root"
  mount -t proc proc "$root/proc"
  mount --rbind /dev "$root/dev"
  cp /etc/resolv.conf "$root/etc/resolv.conf"
  for settings in /etc/apt/apt.conf.d/99*; do
    [ ! -e "$settings" ] || cp "$settings" "$root/etc/apt/apt.conf.d/"
  done
}

# Runs a command in the root. A process in the background, as this one is, ignores some signals, and
# so would what is tested.
enter_root() {
  timeout --kill-after=10 $limit chroot "$root" /usr/bin/env -i --default-signal=INT,QUIT \
    HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    ${http_proxy:+"http_proxy=$http_proxy"} "$@"
}
