#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs a command in a mount namespace of its own where /run/user is a fresh
# tmpfs, so a test can give the user a login session's private folder
# (/run/user/UID) without touching the machine's. Exits 77 (skipped) where
# namespaces cannot be made (not root, or a sandbox that forbids them).
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
exec "$@"
