#!/usr/bin/env python3
"""Checks the documents: links lead somewhere, commands print what is shown, examples run.

Usage: check_docs.py TOOL EXAMPLES    EXAMPLES is the directory of the built example programs

- Each link of a Markdown page leads to a file and a heading that exist.
- Each command of a ```console block is run and must print what the block shows. /data/mylib is a
  copy of examples/mylib.
- docs/architecture.md maps every file of the two large folders and has every lock.
- The manual pages are clean, and name every message and environment variable. The examples of vek_catalog(5) are
  run on a library of plain, long and odd names.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TOOL, EXAMPLES = (Path(argument).resolve() for argument in sys.argv[1:])
PAGES = sorted([*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("examples/**/*.md")])
SKIPPED_BLOCKS = re.compile(r"^```.*?^```", re.M | re.S)

faults = 0


def fault(where, text):
    global faults
    faults += 1
    print(f"{where}: {text}")


def anchors(page):
    text = SKIPPED_BLOCKS.sub("", page.read_text())
    for heading in re.findall(r"^#+ +(.*?) *$", text, re.M):
        heading = re.sub(r"[^\w\- ]", "", heading.lower())
        yield heading.replace(" ", "-")


def check_links(page):
    text = SKIPPED_BLOCKS.sub("", page.read_text())
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        if re.match(r"[a-z]+:", target):
            continue
        path, _, anchor = target.partition("#")
        linked = (page.parent / path).resolve() if path else page
        if not linked.exists():
            fault(page, f"no such file: {target}")
        elif anchor and anchor not in anchors(linked):
            fault(page, f"no such heading: {target}")


def check_commands(page):
    for block in re.findall(r"^```console\n(.*?)^```", page.read_text(), re.M | re.S):
        with tempfile.TemporaryDirectory() as scratch:
            scratch = os.path.realpath(scratch)
            shutil.copytree(ROOT / "examples/mylib", f"{scratch}/mylib")
            environment = {"PATH": f"{TOOL.parent}:{EXAMPLES}:{os.environ['PATH']}", "HOME": scratch}
            for command, expected in re.findall(
                r"^\$ ((?:.*\\\n)*.*)\n((?:(?!\$ ).*\n)*)", block, re.M
            ):
                run = subprocess.run(
                    ["bash", "-c", command.replace("/data", scratch)],
                    cwd=scratch, env=environment, stdout=subprocess.PIPE,
                    stderr=subprocess.STDOUT, text=True,
                )
                printed = run.stdout.replace(scratch, "/data")
                if printed != expected:
                    fault(page, f"$ {command}\nprinted:\n{printed}shown:\n{expected}")


def sources(*folders):
    return (path for folder in folders for path in sorted((ROOT / folder).glob("**/*.*"))
            if path.suffix in (".h", ".cpp", ".def"))


def check_architecture():
    page = ROOT / "docs/architecture.md"
    text = page.read_text()
    for folder in ("coretools/ctpfa", "coretools/ctmemmgr"):
        table = re.search(rf"^\| File of `{folder}`.*\n((?:\|.*\n)*)", text, re.M)[1]
        named = {name for row in table.splitlines()
                 for name in re.findall(r"`([^`]+)`", row.split("|")[1])}
        files = {path.name for path in sources(folder)}
        mapped = {name for name in files if name in named or name.rpartition(".")[0] in named}
        for name in sorted(files - mapped):
            fault(page, f"{folder}/{name} is not in the map")
        for name in sorted(named):
            if not any(file == name or file.rpartition(".")[0] == name for file in files):
                fault(page, f"{folder} has no {name}")
    locks = r"(?:lazy_mutex|atomic<thrMutex \*>|pthread_mutex_t(?: \w+::)?|^thrMutex \*) ?(\w+)(?:\{| =)"
    for source in sources("coretools", "basictk"):
        for name in set(re.findall(locks, source.read_text(), re.M)) - {"handle"}:
            if f"`{name}`" not in text:
                fault(page, f"has no lock {name} ({source.name})")


def output_of(*command):
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return run.stdout + (f"exit status {run.returncode}\n" if run.returncode else "")


def check_manual_pages():
    pages = sorted(map(str, ROOT.glob("man/*.[1-9]")))
    found = output_of("mandoc", "-T", "lint", "-W", "warning", *pages)
    for page in pages:
        run = subprocess.run(
            ["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", page],
            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
        )
        found += run.stderr
    if found:
        fault("man", found)


def check_messages():
    """Every message of the tool stands in the manual page and in the README, and every environment
    variable in the manual page."""
    pages = [ROOT / "man/vek_build_librar_ctg.1", ROOT / "README.md"]
    for source in sorted(ROOT.glob("apps/lib_ctg/*.cpp")):
        for text in re.findall(r'"((?:Error|Warning): [^"]*|Duplicate [^"]*)"', source.read_text()):
            fixed = re.split(r"%|\\n", text)[0].rstrip()
            for page in pages:
                if fixed not in page.read_text():
                    fault(page, f"does not explain: {text}")
    for source in sources("apps", "coretools", "basictk"):
        for name in re.findall(r'getenv\("(\w+)"\)', source.read_text()):
            if name not in pages[0].read_text():
                fault(pages[0], f"has no environment variable {name}")


def manual_examples():
    """The literal blocks of vek_catalog(5) that are marked as examples, as they are displayed."""
    text = (ROOT / "man/vek_catalog.5").read_text()
    for kind, block in re.findall(r'^\.\\" example: (\w+)\n\.Bd -literal\n(.*?)^\.Ed', text,
                                  re.M | re.S):
        for escape, character in ((r"\&", ""), (r"\(aq", "'"), (r"\-", "-"), (r"\(ha", "^"),
                                  (r"\(ti", "~"), (r"\e", "\\")):
            block = block.replace(escape, character)
        yield kind, block


LONG_PATH = "/".join(["d" * 37] * 6)
ODD_LIBRARY = {  # file: what a reader prints of it, in the order of the catalog
    "gear.asm": "1\tgear\t",
    "drive/cover.prt.2": "2\tcover\tdrive",
    LONG_PATH + "/deep.prt": f"2\tdeep\t{LONG_PATH}",
    "frame/a b.igs": "134\ta b\tframe",
    "frame/" + "e" * 40 + ".emn": "569\t" + "e" * 40 + "\tframe",
    "frame/" + "f" * 32 + ".evs": "570\t" + "f" * 32 + "\tframe",
    "9.session": "1006\t9\t",
    "7up.dat": "9999\t7up\t",
    "frame/3rd.jar": "10020\t3rd\tframe",
    "1st.mil": "20001\t1st\t",
}


def build(library, files):
    for file in files:
        (library / file).parent.mkdir(parents=True, exist_ok=True)
        (library / file).touch()
    subprocess.run([TOOL], env={"VEK_LIBRARY_DIR": str(library)}, check=False,
                   stdout=subprocess.DEVNULL)
    return library / f"{library.name}.ctg.1"


def check_catalog_page():
    with tempfile.TemporaryDirectory(dir="/tmp") as scratch:
        scratch = Path(scratch)
        catalog = build(scratch / "odd", ODD_LIBRARY)
        expected = "".join(line + "\n" for line in ODD_LIBRARY.values())
        example = scratch / "example"
        programs = 0
        for kind, text in manual_examples():
            source = scratch / f"example.{kind}"
            source.write_text(text)
            if kind == "hexdump":
                small = build(scratch / "mylib",
                              ["cover.prt", "drive/cover.prt.2", "drive/gear.asm"])
                if small.stat().st_size != 913:
                    fault("vek_catalog.5", "the example's catalog has not 913 bytes")
                shown = "".join(hexdump(small.read_bytes()[:80]))
                if shown != text:
                    fault("vek_catalog.5", f"hexdump is\n{shown}")
                continue
            if kind == "c":
                compiled = output_of("cc", "-std=c99", "-Wall", "-Wextra", "-Werror", "-o",
                                     str(example), str(source))
                if compiled:
                    fault("vek_catalog.5", compiled)
                    continue
            command = {"sh": ["sh", source], "python": ["python3", source], "c": [example]}[kind]
            printed = output_of(*map(str, command), str(catalog))
            programs += 1
            if printed != expected:
                fault(f"vek_catalog.5, {kind}", f"printed:\n{printed}expected:\n{expected}")
        if programs != 3:
            fault("vek_catalog.5", "the three example programs were not found")


def hexdump(data):
    for start in range(0, len(data), 16):
        row = data[start : start + 16]
        numbers = [f"{byte:02x}" for byte in row]
        text = "".join(chr(byte) if 32 <= byte < 127 else "." for byte in row)
        yield f"{start:08x}  {' '.join(numbers[:8])}  {' '.join(numbers[8:])}  |{text}|\n"


def check_changelog():
    version = re.search(r'"(.*)"', (ROOT / "apps/lib_ctg/ctgversion.h").read_text())[1]
    if f"\n## {version}\n" not in (ROOT / "CHANGELOG.md").read_text():
        fault("CHANGELOG.md", f"does not tell what {version} brought")


def check_scripts():
    page = ROOT / "docs/building.md"
    for script in sorted(ROOT.glob("scripts/*.sh")):
        if script.name != "packages.sh" and f"`scripts/{script.name}" not in page.read_text():
            fault(page, f"does not tell what {script.name} does")


def check_types():
    """The types of vek_catalog(5) are those of the table that the tests use."""
    first = {}
    for line in (ROOT / "tests/support/object_types.txt").read_text().splitlines():
        if not line.startswith("#"):
            code, extension, _ = line.split()
            first.setdefault(extension.lower(), int(code))
    expected = {(code, text) for text, code in first.items() if code > 0 and text != "-"}
    page = (ROOT / "man/vek_catalog.5").read_text()
    block = re.search(r"^\.Ss Types\n.*?\.Bd -literal\n(.*?)^\.Ed", page, re.M | re.S)[1]
    words = block.split()
    shown = {(int(code), text) for code, text in zip(words[::2], words[1::2])}
    if shown != expected:
        fault("vek_catalog.5", f"types differ: {sorted(shown ^ expected)}")


for page in PAGES:
    check_links(page)
    check_commands(page)
check_architecture()
check_manual_pages()
check_messages()
check_catalog_page()
check_types()
check_scripts()
check_changelog()
print(f"{len(PAGES)} pages and the manual pages: {faults} faults")
sys.exit(faults != 0)
