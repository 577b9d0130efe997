#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""One window per user, in a real X server, as a person meets it.

Starts Xvfb, then the installed `tallywick` with an empty HOME and XDG
folders, and drives it with real X input from xdotool:
  1. a second start asks the first window forward and leaves at once with 0;
  2. still only the first Tallywick window is on the screen;
  3. Ctrl+W, typed into it, closes that window, which ends the application
     with 0.
(Whether the window also gets the focus is the window manager's call, and
Xvfb has none: X itself refuses a focus change older than the last one.)
Run inside `dbus-run-session`; needs TALLYWICK_E2E_BIN (the installed bin
folder) and TALLYWICK_E2E_SCRATCH (a folder of its own).
"""
import os
import signal
import subprocess

from e2e_session import BIN, SCRATCH, fail, fresh_scratch, setup_environment, spawn, start_x_server, \
    stop_children, wait_for


def log_of(name):
    return open(os.path.join(SCRATCH, name + ".log"), errors="replace").read()


def xdotool(env, *arguments):
    result = subprocess.run(["xdotool", *arguments], env=env, capture_output=True, text=True)
    return result.stdout.split() if result.returncode == 0 else []


def windows(env):
    return xdotool(env, "search", "--onlyvisible", "--name", "^Tallywick$")


def focused(env):
    found = xdotool(env, "getwindowfocus", "-f")
    return found[0] if found else None


def our_hosts():
    """Hosts the application started for this run's runtime folder only: other
    runs may have hosts of the same installed program."""
    own = os.path.realpath(os.path.join(BIN, "tallywick-host"))
    pids = []
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                command = open(f"/proc/{entry}/cmdline", "rb").read().decode(errors="replace")
                if os.path.realpath(f"/proc/{entry}/exe") == own and SCRATCH in command:
                    pids.append(int(entry))
            except OSError:
                pass
    return pids


def main():
    fresh_scratch()
    env = setup_environment(start_x_server())
    first = spawn([os.path.join(BIN, "tallywick")], env, os.path.join(SCRATCH, "first.log"))
    window = wait_for("the window", lambda: windows(env))[0]
    print("the first start shows its window")

    # 1. A second start leaves at once.
    second = spawn([os.path.join(BIN, "tallywick")], env, os.path.join(SCRATCH, "second.log"))
    # The first window answers from its event loop, which its first start
    # may keep busy for a while (it registers and starts the host).
    try:
        status = second.wait(timeout=30)
    except subprocess.TimeoutExpired:
        fail("the second start did not leave; first window's log: " + log_of("first"))
    if status != 0:
        fail("the second start left with %d: %s; first window's log: %s" % (status, log_of("second"), log_of("first")))
    print("the second start left with 0")

    # 2. One window, the first one.
    if windows(env) != [window] or first.poll() is not None:
        fail("expected the first window %s alone, found %s; its log: %s" % (window, windows(env), log_of("first")))
    print("one Tallywick window on the screen")

    # 3. Ctrl+W, typed for real into the window, closes it and the application ends.
    xdotool(env, "windowfocus", "--sync", window)
    wait_for("the window to have the focus", lambda: focused(env) == window, 10)
    xdotool(env, "key", "--clearmodifiers", "ctrl+w")
    try:
        status = first.wait(timeout=15)
    except subprocess.TimeoutExpired:
        fail("Ctrl+W did not end the application")
    if status != 0 or windows(env):
        fail("after Ctrl+W: status %s, windows %s" % (status, windows(env)))
    print("Ctrl+W closed the window and the application ended with 0")


if __name__ == "__main__":
    try:
        main()
    finally:
        stop_children()
        for pid in our_hosts():
            os.kill(pid, signal.SIGTERM)
