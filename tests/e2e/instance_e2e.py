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
import shutil
import signal
import subprocess
import sys
import time

BIN = os.environ["TALLYWICK_E2E_BIN"]
SCRATCH = os.environ["TALLYWICK_E2E_SCRATCH"]

children = []


def fail(message):
    print("FAIL: " + message, file=sys.stderr)
    sys.exit(1)


def wait_for(what, check, limit=30.0):
    deadline = time.monotonic() + limit
    while time.monotonic() < deadline:
        value = check()
        if value:
            return value
        time.sleep(0.2)
    fail("timed out waiting for " + what)


def log_of(name):
    return open(os.path.join(SCRATCH, name + ".log"), errors="replace").read()


def spawn(arguments, env, log, **options):
    child = subprocess.Popen(arguments, env=env, stdout=open(log, "wb"), stderr=subprocess.STDOUT,
                             start_new_session=True, **options)
    children.append(child)
    return child


def start_x_server():
    """Xvfb on a display it picks itself, so parallel runs never collide."""
    fbdir = os.path.join(SCRATCH, "fb")
    os.makedirs(fbdir, exist_ok=True)
    read_end, write_end = os.pipe()
    spawn(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x900x24", "-nolisten", "tcp",
           "-fbdir", fbdir], dict(os.environ), os.path.join(SCRATCH, "xvfb.log"), pass_fds=(write_end,))
    os.close(write_end)
    number = b""
    while not number.endswith(b"\n"):
        chunk = os.read(read_end, 16)
        if not chunk:
            fail("Xvfb did not start")
        number += chunk
    os.close(read_end)
    return ":" + number.decode().strip()


def setup_environment(display):
    home = os.path.join(SCRATCH, "home")
    runtime = os.path.join(SCRATCH, "run")
    os.makedirs(home, exist_ok=True)
    os.makedirs(runtime, mode=0o700, exist_ok=True)
    env = dict(os.environ)
    env.update({
        "HOME": home,
        "XDG_RUNTIME_DIR": runtime,
        "XDG_DATA_HOME": os.path.join(home, ".local", "share"),
        "XDG_CONFIG_HOME": os.path.join(home, ".config"),
        "XDG_STATE_HOME": os.path.join(home, ".local", "state"),
        "DISPLAY": display,
        "QT_QPA_PLATFORM": "xcb",
    })
    for name in ("TALLYWICK_RUNTIME_DIR", "TALLYWICK_DATA_DIR"):
        env.pop(name, None)
    return env


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
    shutil.rmtree(SCRATCH, ignore_errors=True)
    os.makedirs(SCRATCH)
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
        for child in reversed(children):
            try:
                os.killpg(child.pid, signal.SIGTERM)
            except (ProcessLookupError, PermissionError):
                pass
        for pid in our_hosts():
            os.kill(pid, signal.SIGTERM)
