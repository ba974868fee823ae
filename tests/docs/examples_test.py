#!/usr/bin/python3
"""Runs the command examples of README.md, docs/*.md and man/*.1.

A block runs when it is marked: in Markdown a line `<!-- runnable -->` right
before a ```sh fence, in a man page a line `.\\" runnable` right before its
.EX (or .nf). Each document's blocks run in order, each with
`bash -euo pipefail`, in one fresh directory per document that holds what
the document says its examples start from (FIXTURES below), with copies of
the built programs first on PATH: the checker's default manifest is the one
beside its executable, so the copies give the examples a private one.
Markdown pages start from the top of the source tree (a copy of its pki/),
the man pages from the directory their EXAMPLES section describes.

Unmarked stay the blocks that need what a test machine must not touch or
cannot reach: installing packages (apt-get, scripts/install-deps.sh and the
scripts that call it), /opt, /etc, /var or /srv paths of an installation,
systemd, ansible hosts, a TSA on the network, the benchmarks, and blocks
that show files or output rather than commands.

Usage: examples_test.py SOURCE_DIR CHECKER TOOL TESTER SIGN [DOCUMENT...]
"""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

MARKDOWN_MARK = "<!-- runnable -->"
ROFF_MARK = '.\\" runnable'

ROFF_ESCAPES = {"-": "-", "e": "\\", "(aq": "'", "(rs": "\\", "(dq": '"', "&": "", "(em": "--"}
ROFF_ESCAPE = re.compile(r"\\(\(..|f\(..|f\[[^]]*\]|f.|.)")


def unroff(line):
    def replace(match):
        escape = match.group(1)
        if escape.startswith("f"):
            return ""
        if escape not in ROFF_ESCAPES:
            raise ValueError(f"roff escape \\{escape} in a runnable block: {line}")
        return ROFF_ESCAPES[escape]

    return ROFF_ESCAPE.sub(replace, line)


def markdown_blocks(lines):
    blocks = []
    for number, line in enumerate(lines):
        if line.strip() != MARKDOWN_MARK:
            continue
        fence = lines[number + 1] if number + 1 < len(lines) else ""
        indent = fence[: len(fence) - len(fence.lstrip())]
        if fence.strip() != "```sh":
            raise ValueError(f"line {number + 1}: {MARKDOWN_MARK} not followed by a ```sh fence")
        body = []
        for text in lines[number + 2 :]:
            if text.strip() == "```":
                break
            body.append(text[len(indent) :] if text.startswith(indent) else text)
        else:
            raise ValueError(f"line {number + 2}: unclosed fence")
        blocks.append((number + 3, body))
    return blocks


def roff_blocks(lines):
    blocks = []
    for number, line in enumerate(lines):
        if line.strip() != ROFF_MARK:
            continue
        start = lines[number + 1].strip() if number + 1 < len(lines) else ""
        if start not in (".EX", ".nf"):
            raise ValueError(f"line {number + 1}: {ROFF_MARK} not followed by .EX or .nf")
        end = ".EE" if start == ".EX" else ".fi"
        body = []
        for text in lines[number + 2 :]:
            if text.strip() == end:
                break
            if not text.startswith((".", "'")):
                body.append(unroff(text))
        else:
            raise ValueError(f"line {number + 2}: {start} without {end}")
        blocks.append((number + 3, body))
    return blocks


def run(command, cwd, env):
    subprocess.run(command, cwd=cwd, env=env, check=True, stdout=subprocess.DEVNULL)


def product(work, env, config, pki=None):
    """A product directory: bin/agent, its manifest generated from `config`
    and, with `pki`, signed with that hierarchy's leaf."""
    os.makedirs(os.path.join(work, "bin"), exist_ok=True)
    with open(os.path.join(work, "bin", "agent"), "w") as agent:
        agent.write("agent\n")
    with open(os.path.join(work, "config.xml"), "w") as file:
        file.write(config)
    run(["integrity_check_tool", "-g", "-c", "config.xml", "-m", "integrity_check.xml"], work, env)
    if pki:
        sign(pki, "integrity_check.xml", work, env)


def sign(pki, manifest, work, env, kind="lum"):
    run(["integrity_sign", "--type", kind, "--key", f"{pki}/leaf.key", "--cert", f"{pki}/leaf.pem",
         "--chain", f"{pki}/inter.pem", manifest], work, env)


def crl_container(pki, work, env):
    """crl/lumcrl.rdb with an empty CRL of each root of the hierarchy."""
    os.makedirs(os.path.join(work, "crl"))
    roots = sorted(name[:-4] for name in os.listdir(pki) if re.fullmatch(r"root\d*\.pem", name))
    command = ["integrity_sign", "--make-container", "--output", "crl/lumcrl.rdb"]
    for root in roots:
        crl = os.path.join(work, f"{root}.crl.pem")
        run(["integrity_sign", "--make-crl", "--ca-cert", f"{pki}/{root}.pem", "--ca-key", f"{pki}/{root}.key",
             "--output", crl], work, env)
        command[2:2] = ["--root", f"{pki}/{root}.pem"]
        command.append(crl)
    run(command, work, env)
    for root in roots:
        os.remove(os.path.join(work, f"{root}.crl.pem"))


CONFIG = '<Manifest><Files path="%ProductRoot%/bin"/></Manifest>\n'


def source_tree(source, work, env, bin_dir):
    """The top of the source tree, as far as the examples read it: pki/."""
    shutil.copytree(os.path.join(source, "pki"), os.path.join(work, "pki"))


def signing_directory(source, work, env, bin_dir):
    """leaf.key, leaf.pem, inter.pem, root.pem, root.key, gost256.key and an
    unsigned integrity_check.xml whose entries are in the directory."""
    for name in ("leaf.key", "leaf.pem", "inter.pem", "root.pem", "root.key", "gost256.key"):
        shutil.copy(os.path.join(source, "pki/demo/regular", name), work)
    product(work, env, CONFIG)


def tool_directory(source, work, env, bin_dir):
    """A product's directory with config.xml and the signing files."""
    for name in ("leaf.key", "leaf.pem", "inter.pem"):
        shutil.copy(os.path.join(source, "pki/demo/regular", name), work)
    product(work, env, CONFIG)
    os.remove(os.path.join(work, "integrity_check.xml"))


def installed_product(hierarchy, also_gost=False, beside_program=False):
    def make(source, work, env, bin_dir):
        pki = os.path.join(source, "pki/demo", hierarchy)
        product(work, env, CONFIG, pki)
        crl_container(pki, work, env)
        if also_gost:
            shutil.copy(os.path.join(work, "integrity_check.xml"), os.path.join(work, "integrity_check.gost.xml"))
            run(["integrity_sign", "--type", "vorn2", "--key", f"{pki}/gost256.key", "--replace",
                 "integrity_check.gost.xml"], work, env)
        if beside_program:
            # The default manifest: beside the executable, listing it.
            with open(os.path.join(work, "beside.xml"), "w") as file:
                file.write('<Manifest><Files path="%ProductRoot%"><File path="integrity_checker"/></Files></Manifest>\n')
            target = os.path.join(bin_dir, "integrity_check.xml")
            run(["integrity_check_tool", "-g", "-c", "beside.xml", "-m", target], work, env)
            sign(pki, target, work, env)
            os.remove(os.path.join(work, "beside.xml"))

    return make


FIXTURES = {
    "man/integrity_sign.1": signing_directory,
    "man/integrity_check_tool.1": tool_directory,
    "man/integrity_checker.1": installed_product("regular", also_gost=True, beside_program=True),
    "man/integrity_tester.1": installed_product("alternative"),
}


def documents(source, names):
    if names:
        return names
    found = ["README.md"]
    found += sorted("docs/" + name for name in os.listdir(os.path.join(source, "docs")) if name.endswith(".md"))
    found += sorted("man/" + name for name in os.listdir(os.path.join(source, "man")) if name.endswith(".1"))
    return found


def run_block(script, work, env):
    """Exit status and output of `script`; whatever it leaves running is
    stopped with it (its own process group)."""
    with tempfile.TemporaryFile() as output:
        block = subprocess.Popen(["bash", "-euo", "pipefail", "-c", script], cwd=work, env=env,
                                 stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                                 start_new_session=True)
        try:
            returncode = block.wait(timeout=120)
        except subprocess.TimeoutExpired:
            returncode = "timeout"
        finally:
            try:
                os.killpg(block.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            block.wait()
        output.seek(0)
        return returncode, output.read().decode(errors="replace")


def run_document(source, name, programs):
    with open(os.path.join(source, name), encoding="utf-8") as file:
        lines = file.read().split("\n")
    blocks = roff_blocks(lines) if name.endswith(".1") else markdown_blocks(lines)
    if not blocks:
        return True
    top = tempfile.mkdtemp(prefix="docs-examples-")
    try:
        bin_dir = os.path.join(top, "bin")
        work = os.path.join(top, "work")
        home = os.path.join(top, "home")
        for folder in (bin_dir, work, home):
            os.mkdir(folder)
        for program in programs:
            shutil.copy2(program, bin_dir)
        env = {key: value for key, value in os.environ.items() if not key.startswith(("INTEGRITY_CHECK_", "SOFTHSM2"))}
        env.update(PATH=bin_dir + os.pathsep + env.get("PATH", "/usr/bin:/bin"), HOME=home, LC_ALL="C.UTF-8")
        FIXTURES.get(name, source_tree)(source, work, env, bin_dir)
        for line, body in blocks:
            first = next((text.strip() for text in body if text.strip() and not text.lstrip().startswith("#")), "")
            print(f"{name}:{line}: {first}", flush=True)
            script = "\n".join(body) + "\n"
            returncode, output = run_block(script, work, env)
            if returncode != 0:
                print(f"FAILED with exit status {returncode}: the block at {name}:{line}\n{script}"
                      f"--- its output:\n{output}", flush=True)
                return False
        return True
    finally:
        shutil.rmtree(top, ignore_errors=True)


def main():
    source, programs, names = sys.argv[1], sys.argv[2:6], sys.argv[6:]
    # A test timeout still stops the blocks and removes their directories.
    signal.signal(signal.SIGTERM, lambda number, frame: sys.exit(1))
    started = time.monotonic()
    passed = True
    for name in documents(source, names):
        passed = run_document(source, name, programs) and passed
    print(f"{time.monotonic() - started:.1f} s", flush=True)
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
