# SPDX-License-Identifier: MIT
"""What the end-to-end scripts share: a scratch folder, an X server of its
own, a fresh user's environment, and child processes that all go at the end.

The scripts run inside `dbus-run-session` and need TALLYWICK_E2E_BIN (the
installed bin folder) and TALLYWICK_E2E_SCRATCH (a folder of their own).
"""
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

BIN = os.environ["TALLYWICK_E2E_BIN"]
SCRATCH = os.environ["TALLYWICK_E2E_SCRATCH"]
FRAMEBUFFER = os.path.join(SCRATCH, "fb")
SOCKET_ADDRESS_ROOM = 108  # bytes of a path a Unix socket address holds

children = []
_short_runtime = None


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


def spawn(arguments, env, log, **options):
    child = subprocess.Popen(arguments, env=env, stdout=open(log, "wb"), stderr=subprocess.STDOUT,
                             start_new_session=True, **options)
    children.append(child)
    return child


def fresh_scratch():
    shutil.rmtree(SCRATCH, ignore_errors=True)
    os.makedirs(SCRATCH)


def start_x_server():
    """Xvfb on a display it picks itself, so parallel runs never collide; its
    screen is kept in FRAMEBUFFER."""
    os.makedirs(FRAMEBUFFER, exist_ok=True)
    read_end, write_end = os.pipe()
    spawn(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x900x24", "-nolisten", "tcp",
           "-fbdir", FRAMEBUFFER], dict(os.environ), os.path.join(SCRATCH, "xvfb.log"), pass_fds=(write_end,))
    os.close(write_end)
    number = b""
    while not number.endswith(b"\n"):
        chunk = os.read(read_end, 16)
        if not chunk:
            fail("Xvfb did not start")
        number += chunk
    os.close(read_end)
    return ":" + number.decode().strip()


def long_runtime_folder():
    """A private runtime folder whose path alone fills a socket address (108
    bytes), whatever the checkout's length: every socket in it is reached
    through its folder, as the programs reach it."""
    runtime = os.path.join(SCRATCH, "run")
    while len(runtime) <= SOCKET_ADDRESS_ROOM:
        runtime = os.path.join(runtime, "a-session-folder-with-a-long-name")
    os.makedirs(runtime, mode=0o700, exist_ok=True)
    return runtime


def connects(path):
    """Whether a listener accepts at the socket path, reached as the programs
    reach it: through an open descriptor of its folder."""
    folder, name = os.path.split(path)
    descriptor = os.open(folder, os.O_PATH | os.O_DIRECTORY)
    probe = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    try:
        probe.connect("/proc/self/fd/%d/%s" % (descriptor, name))
        return True
    except OSError:
        return False
    finally:
        probe.close()
        os.close(descriptor)


def accessibility_environment(env):
    """The accessibility bus puts its socket in XDG_RUNTIME_DIR by path, which
    the session's long folder cannot hold: it gets a short private one."""
    global _short_runtime
    if _short_runtime is None:
        _short_runtime = tempfile.mkdtemp(prefix="tlw-a11y-")
    return dict(env, XDG_RUNTIME_DIR=_short_runtime)


def setup_environment(display, **extra):
    """A user who never ran Tallywick: an empty home, its XDG folders, the display."""
    home = os.path.join(SCRATCH, "home")
    runtime = long_runtime_folder()
    os.makedirs(home, exist_ok=True)
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
    env.update(extra)
    for name in ("TALLYWICK_RUNTIME_DIR", "TALLYWICK_DATA_DIR"):
        env.pop(name, None)
    return env


def stop_children():
    for child in reversed(children):
        try:
            os.killpg(child.pid, signal.SIGTERM)
        except (ProcessLookupError, PermissionError):
            pass
    if _short_runtime is not None:
        shutil.rmtree(_short_runtime, ignore_errors=True)
