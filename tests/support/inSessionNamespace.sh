#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs a command in a mount namespace of its own where /run/user is a fresh
# tmpfs, so a test never reads the machine's login sessions. With
# --with-session the user's private session folder (/run/user/UID, 0700) is
# made first, as a login manager makes it. The command learns which it got
# from TALLYWICK_TEST_SESSION (present or absent). With --small-disk SIZE a
# disk of that size (a tmpfs) is its TEST_TMPDIR, where a test can fill the
# disk without touching the machine's. Exits 77 (skipped) where namespaces
# cannot be made (not root, or a sandbox that forbids them).
set -eu
if [ "${TALLYWICK_IN_NAMESPACE:-}" != 1 ]; then
  if ! unshare --mount --propagation private true 2>/dev/null; then
    echo "skipped: cannot make a mount namespace here (needs root)" >&2
    exit 77
  fi
  TALLYWICK_IN_NAMESPACE=1 exec unshare --mount --propagation private -- sh "$0" "$@"
fi
if [ -d /run/user ]; then
  mount -t tmpfs -o mode=0755 tallywick-test /run/user
else
  # No /run/user on this machine: a fresh /run with one in it.
  mount -t tmpfs -o mode=0755 tallywick-test /run
  mkdir -m 0755 /run/user
fi
TALLYWICK_TEST_SESSION=absent
if [ "${1:-}" = --with-session ]; then
  shift
  mkdir -m 0700 "/run/user/$(id -u)"
  TALLYWICK_TEST_SESSION=present
fi
export TALLYWICK_TEST_SESSION
if [ "${1:-}" = --small-disk ]; then
  mkdir -m 0700 /run/user/small-disk
  mount -t tmpfs -o "size=$2,mode=0700" tallywick-small-disk /run/user/small-disk
  shift 2
  # What the programs print goes elsewhere, so that it is never lost for space.
  mkdir -m 0700 /run/user/outputs
  export TEST_TMPDIR=/run/user/small-disk/ TALLYWICK_TEST_SMALL_DISK=/run/user/outputs
fi
exec "$@"
