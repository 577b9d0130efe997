#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The Debian packages as a packager and an installing system see them.

Packs the build folder (configured for /usr) with CPack, then checks each
package: the files it must hold, that every absolute Exec, TryExec and
ExecStart path names a file of the package, that programs are stripped,
that the control fields carry a real description, and, where the tools are
installed, that lintian finds no error and appstreamcli accepts the
metainfo. Arguments: BUILD_DIR WORK_DIR.
"""
import glob
import os
import re
import shutil
import subprocess
import sys

BUILD, WORK = sys.argv[1], sys.argv[2]
PROGRAMS = ["tallywick", "tallywick-host", "tallywick-bridge", "tallywickctl", "tallywick-demo"]
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def run(arguments, **options):
    return subprocess.run(arguments, capture_output=True, text=True, **options)


shutil.rmtree(WORK, ignore_errors=True)
os.makedirs(WORK)
packed = run(["cpack", "-G", "DEB", "-B", WORK, "--config", os.path.join(BUILD, "CPackConfig.cmake")], cwd=BUILD)
if packed.returncode != 0:
    print(packed.stdout + packed.stderr, file=sys.stderr)
    sys.exit("FAIL: cpack could not pack the build")
debs = {run(["dpkg-deb", "-f", path, "Package"]).stdout.strip(): path for path in glob.glob(WORK + "/*.deb")}
check(set(debs) == {"tallywick", "libtallywick-dev"}, "packages made: %s" % sorted(debs))

roots = {}
for name, path in debs.items():
    root = os.path.join(WORK, "root-" + name)
    run(["dpkg-deb", "-x", path, root], check=True)
    roots[name] = root
    description = run(["dpkg-deb", "-f", path, "Description"]).stdout.splitlines()
    check(len(description) > 3, name + ": the description has no extended part")
    for document in ("copyright", "changelog.Debian.gz"):
        check(os.path.isfile(os.path.join(root, "usr/share/doc", name, document)), name + ": no " + document)
    for member in run(["dpkg-deb", "-c", path]).stdout.splitlines():
        check("/usr/local/" not in member, name + ": installs under /usr/local: " + member)

app = roots.get("tallywick", "/nonexistent")
for program in PROGRAMS:
    binary = os.path.join(app, "usr/bin", program)
    check(os.path.isfile(binary), "tallywick: no program " + program)
    check(os.path.isfile(os.path.join(app, "usr/share/man/man1", program + ".1.gz")), "no manual page of " + program)
    if os.path.isfile(binary):
        sections = run(["readelf", "-S", "-W", binary]).stdout
        check(".symtab" not in sections and ".debug_info" not in sections, program + " is not stripped")
for expected in ("usr/share/bash-completion/completions/tallywickctl",
                 "usr/share/metainfo/org.tallywick.Tallywick.metainfo.xml",
                 "usr/share/applications/org.tallywick.Tallywick.desktop",
                 "usr/share/icons/hicolor/scalable/apps/org.tallywick.Tallywick.svg",
                 "usr/lib/systemd/user/org.tallywick.Tallywick.host.service",
                 "usr/share/tallywick/translations/tallywick_de.qm"):
    check(os.path.isfile(os.path.join(app, expected)), "tallywick: no " + expected)

# Every program a menu entry or a unit starts is one the package installs.
launchers = glob.glob(app + "/usr/share/applications/*.desktop") + glob.glob(app + "/usr/lib/systemd/user/*")
check(launchers, "no desktop entry or unit to check")
for launcher in launchers:
    for line in open(launcher).read().splitlines():
        found = re.match(r"^(Exec|TryExec|ExecStart)=(\S+)", line)
        if found and found.group(2).startswith("/"):
            check(os.path.isfile(app + found.group(2)),
                  "%s: %s names %s, which the package does not hold" % (os.path.basename(launcher),
                                                                         found.group(1), found.group(2)))

dev = roots.get("libtallywick-dev", "/nonexistent")
check(glob.glob(dev + "/usr/include/tallywick/*.h"), "libtallywick-dev: no headers")
check(glob.glob(dev + "/usr/lib/*/libtallywick_*.a"), "libtallywick-dev: no static libraries")
check(glob.glob(dev + "/usr/lib/*/cmake/Tallywick/TallywickConfig.cmake"), "libtallywick-dev: no CMake package")
check(not glob.glob(app + "/usr/include") and not glob.glob(app + "/usr/lib/*/*.a"),
      "tallywick holds development files")

if shutil.which("lintian"):
    for name, path in debs.items():
        said = run(["lintian", "--tag-display-limit", "0", path]).stdout
        errors = [line for line in said.splitlines() if line.startswith("E:")]
        check(not errors, "lintian: " + "; ".join(errors))
else:
    print("lintian is not installed: its check is left out")
metainfo = os.path.join(app, "usr/share/metainfo/org.tallywick.Tallywick.metainfo.xml")
if shutil.which("appstreamcli") and os.path.isfile(metainfo):
    validated = run(["appstreamcli", "validate", "--no-net", "--pedantic", metainfo])
    check(validated.returncode == 0, "appstreamcli: " + validated.stdout + validated.stderr)

if failures:
    for failure in failures:
        print("FAIL: " + failure, file=sys.stderr)
    sys.exit(1)
print("packages: " + ", ".join(sorted(os.path.basename(path) for path in debs.values())))
