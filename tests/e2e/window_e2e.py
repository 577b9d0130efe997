#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The installed desktop manager in a real X server, as a person meets it.

Starts Xvfb and the accessibility bus, then the installed `tallywick` with an
empty HOME and XDG folders. The window is read through the accessibility tree
(what a screen reader sees) and driven with real X input from xdotool:
  1. the application starts the host itself and says "Host connected";
  2. an agent signs up through the installed tallywick-bridge and its account
     appears in the sidebar;
  3. an amount typed into the add form reaches the agent's getBalance;
  4. the host is killed and started again, and the window says "Host
     connected" within a second, with nobody touching it;
  5. a ledger row is edited, cancelled, deleted and given its menu from
     the keyboard alone, and deleted through its accessibility action;
  6. a screenshot of the screen is kept.
Run inside `dbus-run-session`; needs TALLYWICK_E2E_BIN (the installed bin
folder) and TALLYWICK_E2E_SCRATCH (a folder of its own).
"""
import json
import os
import signal
import stat
import struct
import subprocess
import time
import zlib

from e2e_session import BIN, FRAMEBUFFER, SCRATCH, SOCKET_ADDRESS_ROOM, accessibility_environment, children, \
    connects, fail, fresh_scratch, setup_environment, spawn, start_x_server, stop_children, wait_for

KEY = "e2e-key-kept-in-memory"


# --- the accessibility tree ---------------------------------------------------

def application():
    import pyatspi
    for app in pyatspi.Registry.getDesktop(0):
        if app is not None and app.name == "Tallywick":
            return app
    return None


def find(node, predicate, depth=0):
    if node is None or depth > 40:
        return None
    try:
        if predicate(node):
            return node
        for child in node:
            found = find(child, predicate, depth + 1)
            if found is not None:
                return found
    except Exception:  # nodes vanish while the views rebuild
        return None
    return None


def element(role, name=None, prefix=None, within=None):
    def matches(node):
        if node.getRoleName() != role:
            return False
        if name is not None:
            return node.name == name
        return node.name.startswith(prefix)
    return find(within if within is not None else application(), matches)


def focused(node):
    import pyatspi
    try:
        return node.getState().contains(pyatspi.STATE_FOCUSED)
    except Exception:
        return False


def showing(node):
    import pyatspi
    try:
        return node.getState().contains(pyatspi.STATE_SHOWING)
    except Exception:
        return False


def dialog(title):
    return find(application(), lambda node: node.getRoleName() == "dialog" and node.name == title
                and showing(node))


def ledger_row(memo):
    """The ledger's list item whose spoken text names the memo."""
    ledger = element("list", "Transactions")
    if ledger is None:
        return None
    for item in ledger:
        if item is not None and item.getRoleName() == "list item" and memo in item.name:
            return item
    return None


def visible_windows(env):
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--classname", "tallywick"], env=env,
                           capture_output=True, text=True)
    return set(found.stdout.split())


def center(node):
    import pyatspi
    box = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    return box.x + box.width // 2, box.y + box.height // 2


# --- real input ----------------------------------------------------------------

def xdotool(env, *arguments):
    subprocess.run(["xdotool", *arguments], env=env, check=True)


def click(env, node):
    x, y = center(node)
    xdotool(env, "mousemove", "--sync", str(x), str(y), "click", "1")


def type_into(env, node, text):
    click(env, node)
    xdotool(env, "key", "ctrl+a", "BackSpace")
    xdotool(env, "type", "--delay", "20", text)


# --- the agent -----------------------------------------------------------------

class Agent:
    """An MCP client talking to the installed bridge, one line each way."""

    def __init__(self, env):
        self.bridge = subprocess.Popen([os.path.join(BIN, "tallywick-bridge")], env=env,
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=open(os.path.join(SCRATCH, "bridge.log"), "wb"))
        children.append(self.bridge)
        self.next_id = 0

    def call(self, method, params):
        self.next_id += 1
        line = json.dumps({"jsonrpc": "2.0", "id": self.next_id, "method": method, "params": params})
        self.bridge.stdin.write(line.encode() + b"\n")
        self.bridge.stdin.flush()
        while True:
            reply = json.loads(self.bridge.stdout.readline())
            if reply.get("id") == self.next_id:
                return reply

    def tool(self, name, arguments):
        reply = self.call("tools/call", {"name": name, "arguments": arguments})
        if "result" not in reply or reply["result"].get("isError"):
            fail(f"{name} failed: {reply}")
        return reply["result"]["structuredContent"]


# --- the screenshot ------------------------------------------------------------

def keep_screenshot(fbdir, target):
    """Xvfb keeps its screen as an XWD file; written out as PNG."""
    data = open(os.path.join(fbdir, "Xvfb_screen0"), "rb").read()
    fields = struct.unpack(">25I", data[:100])
    header_size, width, height = fields[0], fields[4], fields[5]
    byte_order, bits_per_pixel, bytes_per_line, ncolors = fields[7], fields[11], fields[12], fields[19]
    if bits_per_pixel != 32:
        fail("unexpected screen depth %d" % bits_per_pixel)
    pixels = data[header_size + 12 * ncolors:]
    rows = bytearray()
    for y in range(height):
        row = pixels[y * bytes_per_line: y * bytes_per_line + width * 4]
        rows.append(0)
        for x in range(0, width * 4, 4):
            b, g, r = (row[x], row[x + 1], row[x + 2]) if byte_order == 0 else (row[x + 3], row[x + 2], row[x + 1])
            rows += bytes((r, g, b))

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body) & 0xFFFFFFFF)

    png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
    png += chunk(b"IDAT", zlib.compress(bytes(rows), 6)) + chunk(b"IEND", b"")
    open(target, "wb").write(png)


def finished(pid):
    """Dead with its files closed: a zombie or gone. (A process loses its
    executable link before its files, so the lock may outlive the link.)"""
    try:
        state = open(f"/proc/{pid}/stat").read().rsplit(")", 1)[1].split()[0]
    except (OSError, IndexError):
        return True
    return state in ("Z", "X")


def host_accepts(env):
    """A host listens in the session's runtime folder (a process alone may be
    one that found another host and is leaving)."""
    folder = os.path.join(env["XDG_RUNTIME_DIR"], "tallywick")
    for name in os.listdir(folder) if os.path.isdir(folder) else []:
        path = os.path.join(folder, name)
        if stat.S_ISSOCK(os.lstat(path).st_mode) and connects(path):
            return True
    return False


def host_pids():
    own = os.path.realpath(os.path.join(BIN, "tallywick-host"))
    pids = []
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                if os.path.realpath(f"/proc/{entry}/exe") == own:
                    pids.append(int(entry))
            except OSError:
                pass
    return pids


def main():
    if len(BIN) <= SOCKET_ADDRESS_ROOM:
        fail("the programs are installed in %s, a path that fits a socket address" % BIN)
    fresh_scratch()
    env = setup_environment(start_x_server(), QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
    spawn(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"], accessibility_environment(env),
          os.path.join(SCRATCH, "atspi.log"))
    wait_for("the accessibility bus", lambda: subprocess.run(
        ["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
         "org.a11y.Bus.GetAddress"], env=env, capture_output=True).returncode == 0, 20)

    # 1. A fresh user: the application registers and starts the host itself.
    spawn([os.path.join(BIN, "tallywick")], env, os.path.join(SCRATCH, "app.log"))
    wait_for("the window", application)
    wait_for('"Host connected"', lambda: element("label", "Host connected"))
    if not os.path.exists(os.path.join(env["XDG_DATA_HOME"], "tallywick", "ledger.sqlite3")):
        fail("no ledger in the user's data folder")
    print("host started by the application; window says Host connected")

    # 2. An agent signs up through the bridge; its account appears in the sidebar.
    agent = Agent(env)
    agent.call("initialize", {"protocolVersion": "2025-11-25", "capabilities": {},
                              "clientInfo": {"name": "e2e-client", "version": "1.0"}})
    account = agent.tool("signUp", {"key": KEY, "displayName": "E2E Agent"})
    row = wait_for("the account in the sidebar", lambda: element("table cell", prefix="E2E Agent"))
    click(env, row)
    wait_for("the account's detail", lambda: element("label", account["accountId"]))
    print("agent %s appeared in the sidebar" % account["accountId"])

    # 3. An amount typed into the add form reaches the agent.
    start = agent.tool("getBalance", {})["balance"]
    type_into(env, element("text", "Amount"), "125")
    type_into(env, element("text", "Memo"), "typed in the window")
    click(env, element("push button", "Add"))
    wait_for("the entry to reach the agent", lambda: agent.tool("getBalance", {})["balance"] == start + 125)
    print("an entry typed in the window reached getBalance: %d" % (start + 125))

    # 4. The host dies and comes back; the window notices by itself.
    killed = host_pids()
    for pid in killed:
        os.kill(pid, signal.SIGKILL)
    wait_for("the host to be gone", lambda: all(finished(pid) for pid in killed), 10)
    wait_for('"Host offline"', lambda: element("label", "Host offline"))
    spawn([os.path.join(BIN, "tallywick-host")], env, os.path.join(SCRATCH, "host-again.log"))
    wait_for("the host to listen again", lambda: host_accepts(env), 10)
    listening = time.monotonic()
    while element("label", "Host connected") is None:
        if time.monotonic() - listening > 1.0:
            fail('"Host connected" more than 1 s after the host listened again, with no command')
        time.sleep(0.02)
    print('"Host connected" %.0f ms after the host listened again' % ((time.monotonic() - listening) * 1000))
    type_into(env, element("text", "Amount"), "5")
    type_into(env, element("text", "Memo"), "after the restart")
    click(env, element("push button", "Add"))
    wait_for("the entry after the restart", lambda: agent.tool("getBalance", {})["balance"] == start + 130)
    print("the next command went through")

    # 5. The ledger from the keyboard. Return on a row opens its edit sheet.
    click(env, wait_for("the new row", lambda: ledger_row("after the restart")))
    wait_for("the row to have the focus", lambda: focused(ledger_row("after the restart")))
    xdotool(env, "key", "Return")
    sheet = wait_for("the edit sheet", lambda: dialog("Edit Transaction"))
    x, y = center(sheet)
    xdotool(env, "mousemove", "--sync", str(x), str(y))
    amount = element("text", "Amount", within=sheet)
    cancel = element("push button", "Cancel", within=sheet)
    for _ in range(8):
        if focused(amount):
            break
        xdotool(env, "key", "Tab")
    xdotool(env, "key", "ctrl+a", "BackSpace")
    xdotool(env, "type", "999")
    for _ in range(8):
        if focused(cancel):
            break
        xdotool(env, "key", "Tab")
    if not focused(cancel):
        fail("Tab never reached Cancel in the edit sheet")
    # Return on the focused Cancel cancels: the 999 is never sent.
    xdotool(env, "key", "Return")
    wait_for("the sheet to close", lambda: dialog("Edit Transaction") is None, 10)
    type_into(env, element("text", "Amount"), "1")
    type_into(env, element("text", "Memo"), "marker")
    xdotool(env, "key", "Return")
    balance = wait_for("the marker entry", lambda: (lambda b: b if b in (start + 131, start + 1125) else None)(
        agent.tool("getBalance", {})["balance"]))
    if balance != start + 131:
        fail("Return on a focused Cancel saved the edit")
    print("Return on a focused Cancel sent nothing")

    # Delete deletes the focused row; the menu key opens its menu, once.
    click(env, ledger_row("after the restart"))
    wait_for("the row to have the focus", lambda: focused(ledger_row("after the restart")))
    xdotool(env, "key", "Delete")
    wait_for("the deleted entry", lambda: agent.tool("getBalance", {})["balance"] == start + 126)
    wait_for("the row to go", lambda: ledger_row("after the restart") is None)
    click(env, ledger_row("marker"))
    # Qt leaves popups out of the accessibility tree; X shows them as windows.
    before = visible_windows(env)
    xdotool(env, "key", "Menu")
    menus = wait_for("the row menu", lambda: (lambda now: now - before if now - before else None)(
        visible_windows(env)), 10)
    if len(menus) != 1:
        fail("the menu key opened %d menus" % len(menus))
    # Edit, Delete, then the copies: the second item deletes the row.
    xdotool(env, "key", "Down", "Down", "Return")
    wait_for("the entry deleted from its menu", lambda: agent.tool("getBalance", {})["balance"] == start + 125)
    wait_for("the menu to close", lambda: not (visible_windows(env) - before), 10)
    print("keyboard edit, cancel, delete and menu work")

    # What a screen reader offers on a row: Edit and Delete, as actions.
    row = ledger_row("typed in the window")
    actions = row.queryAction()
    names = [actions.getName(i) for i in range(actions.nActions)]
    if names[:2] != ["Edit", "Delete"]:
        fail("the row's actions are %s" % names)
    actions.doAction(names.index("Delete"))
    wait_for("the entry deleted by its action", lambda: agent.tool("getBalance", {})["balance"] == start)
    print("a row's Delete action deleted it")

    # 6. What a person would have seen.
    time.sleep(0.5)
    keep_screenshot(FRAMEBUFFER, os.path.join(SCRATCH, "..", "e2e-window.png"))
    print("screenshot kept")


if __name__ == "__main__":
    try:
        main()
    finally:
        stop_children()
        for pid in host_pids():
            os.kill(pid, signal.SIGTERM)
