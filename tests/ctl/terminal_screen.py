#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""What a terminal shows of tallywickctl's output when agents are hostile.

Agents connect through real bridges with the hostile corpus as their client
names and titles, the corpus is imported as memos, and the output of the
snapshot tables, an import's dry run and refusal, and `events` is rendered
in a VT100 emulator (pyte). The screen must show exactly the printed text:
control and bidi characters as visible escapes, nothing moved or cleared,
every balance under its own column. `--json` must give the exact texts.

Arguments: tallywickctl, tallywick-host, tallywick-bridge, the corpus (JSON),
a scratch folder.
"""
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
import unicodedata

import pyte

CTL, HOST, BRIDGE, CORPUS, SCRATCH = sys.argv[1:6]
# What a terminal acts on or hides: C0 but the line feed, DEL, C1, bidi controls, invisible spaces.
ACTIVE = re.compile("[\x00-\x09\x0b-\x1f\x7f-\x9f\u061c\u200b\u200e\u200f\u202a-\u202e\u2060\u2066-\u2069\ufeff]")
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)


def ctl(*arguments, stdin=None):
    return subprocess.run([CTL, "--runtime-dir", RUN, *arguments], capture_output=True, timeout=60, input=stdin)


class Screen(pyte.Screen):
    """pyte 0.8.0 ends a run of text at a zero-width character that is not a
    combining mark (a joiner, a variation selector); terminals join it to the
    character before, as pyte does with combining marks."""

    def draw(self, data):
        for part in re.split("([\u200c\u200d\ufe00-\ufe0f])", data):
            if len(part) != 1 or pyte.screens.wcwidth(part) != 0 or unicodedata.combining(part):
                super().draw(part)
                continue
            line, x = self.buffer[self.cursor.y], self.cursor.x - 1
            if x > 0 and line[x].data == "":  # the second cell of a wide character
                x -= 1
            if x >= 0:
                line[x] = line[x]._replace(data=line[x].data + part)


def screen_of(data):
    """The lines a terminal shows after `data`, and the screen itself."""
    screen = Screen(max(map(len, data.split(b"\n"))) + 1, data.count(b"\n") + 2)
    screen.set_mode(pyte.modes.LNM)  # a tty turns each line feed into CR LF
    pyte.ByteStream(screen).feed(data)
    return [line.rstrip() for line in screen.display], screen


def shows_exactly(name, data):
    """The output is inert: the terminal shows its text as printed."""
    text = data.decode("utf-8")
    check(not ACTIVE.search(text), "%s: raw control or bidi character in %r" % (name, ACTIVE.findall(text)[:5]))
    shown, _ = screen_of(data)
    printed = [line.rstrip() for line in text.split("\n")]
    # pyte keeps a wide character's second cell empty; the text has no such cell.
    differs = [(s, p) for s, p in zip(shown, printed) if s != p]
    check(not differs, "%s: the screen differs from the printed text: %r" % (name, differs[:1]))
    return text


class Bridge:
    """An agent's bridge, kept open so that its connection stays live."""

    def __init__(self, name):
        self.process = subprocess.Popen([BRIDGE, "--runtime-dir", RUN], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        line = json.dumps({"jsonrpc": "2.0", "id": 1, "method": "initialize", "params": {
            "protocolVersion": "2025-11-25", "capabilities": {},
            "clientInfo": {"name": name, "title": name, "version": "1"}}}, ensure_ascii=False)
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()
        self.reply = json.loads(self.process.stdout.readline())

    def close(self):
        self.process.stdin.close()
        self.process.wait(timeout=30)


corpus = [(item["name"], item["text"]) for item in json.load(open(CORPUS, encoding="utf-8"))]
os.makedirs(SCRATCH, exist_ok=True)
folder = tempfile.mkdtemp(dir=SCRATCH)
RUN = os.path.join(folder, "run")
host = subprocess.Popen([HOST, "--database", os.path.join(folder, "ledger.sqlite3"), "--runtime-dir", RUN],
                        stderr=open(os.path.join(folder, "host.err"), "wb"))
bridges = []
try:
    deadline = time.monotonic() + 60
    while ctl("--no-start", "snapshot").returncode != 0:
        if time.monotonic() > deadline or host.poll() is not None:
            sys.exit("FAIL: the host did not start: " + open(os.path.join(folder, "host.err")).read())
        time.sleep(0.05)

    events = subprocess.Popen([CTL, "--runtime-dir", RUN, "events"], stdout=subprocess.PIPE)
    for name, text in corpus:
        bridges.append(Bridge(text))
        check("result" in bridges[-1].reply, "%s: the client was refused: %s" % (name, bridges[-1].reply))
    state = json.loads(ctl("--json", "snapshot").stdout)["snapshot"]["_0"]
    names = [account["displayName"] for account in state["accounts"]]
    check(sorted(names) == sorted(text for _, text in corpus), "--json: the names are not exact")
    first = state["accounts"][0]["id"]

    # Memos arrive from a file; its refusal quotes the cell.
    rows = "".join('note,none,0,"%s"\r\n' % text.replace('"', '""') for _, text in corpus)
    memos = os.path.join(folder, "memos.csv")
    with open(memos, "w", encoding="utf-8", newline="") as out:
        out.write("kind,flag,amount,memo\r\n" + rows)
    shows_exactly("import --dry-run", ctl("import", first, memos, "--dry-run").stdout)
    check(ctl("import", first, memos).returncode == 0, "the memos were not imported")
    bad = os.path.join(folder, "bad.csv")
    with open(bad, "w", encoding="utf-8", newline="") as out:
        out.write('kind,flag,amount,memo\r\n"%s",none,0,x\r\n' % dict(corpus)["clearScreen"])
    refused = ctl("import", first, bad)
    check(refused.returncode == 2 and b"\\x1b[2J" in refused.stderr, "the refusal does not quote the cell escaped")
    shows_exactly("import refusal", refused.stderr)

    # The tables: every account's true balance stands under BALANCE.
    state = json.loads(ctl("--json", "snapshot").stdout)["snapshot"]["_0"]
    output = ctl("snapshot").stdout
    text = shows_exactly("snapshot", output)
    check("\\x1b[1A" in text and "\\u202e" in text and "\\x00" in text and "\\u009b" in text,
          "snapshot: the escapes are not shown")
    shown, screen = screen_of(output)
    header = next(y for y, line in enumerate(shown) if line.startswith("ID  ") and "BALANCE" in line)
    column = shown[header].index("BALANCE")
    for account in state["accounts"]:
        row = next(y for y in range(header + 1, len(shown)) if shown[y].startswith(account["id"] + " "))
        cells = "".join(screen.buffer[row][x].data for x in range(column, column + 20)).split()
        check(cells and cells[0] == str(account["balance"]),
              "%s: BALANCE shows %s, the host holds %s" % (account["id"], cells[:1], account["balance"]))

    # Events: one JSON line each, exact and inert.
    sent = dict(corpus)["c1Controls"] + dict(corpus)["rightToLeftOverride"]
    bridges.append(Bridge(sent))
    seen = b""
    while b"endinvoice" not in seen:  # the event of the line just sent
        seen += events.stdout.readline()
    events.send_signal(signal.SIGINT)
    events.wait(timeout=30)
    seen += events.stdout.read()
    records = [json.loads(line) for line in shows_exactly("events", seen).split("\n") if line]
    while any(isinstance(r, dict) and "payload" not in r for r in records):  # down to the log records
        records = [v for r in records for v in (r.values() if "payload" not in r else [r]) if isinstance(v, dict)]
    payloads = [json.loads(r["payload"]) for r in records if '"initialize"' in r["payload"]]
    check(any(p.get("params", {}).get("clientInfo", {}).get("name") == sent for p in payloads),
          "events: the agent's text is not carried exactly")
    check(events.returncode == 130, "events: Ctrl-C gave %s" % events.returncode)
finally:
    for bridge in bridges:
        bridge.close()
    host.send_signal(signal.SIGTERM)
    host.wait(timeout=30)

if failures:
    sys.exit("FAIL:\n  " + "\n  ".join(failures))
print("the terminal shows every hostile text escaped, in its place")
