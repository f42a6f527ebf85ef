#!/usr/bin/env python3
"""Drives the installed zel-keychain end to end.

    zel_keychain_test.py commands|full-file-system CMAKE BUILD_DIR [EMULATOR...]

Installs BUILD_DIR into a temporary prefix (cmake --install) and runs the
command from there against a temporary key store:

  commands          usage and help; store (refusals before anything is
                    stored, --verify); list (text, JSON, odd names, files
                    that are not items, a keychain name with a "."); get (to
                    a pipe, to a new file, refusing a terminal and an
                    existing file); verify naming exactly the damaged files;
                    store --verify over a damaged file; erase removing
                    damaged files too.
  full-file-system  store into a nearly full tmpfs: exit 1, naming the
                    items that were not stored, also when the last item
                    was (needs root to mount; exits 77 otherwise).

Prints one line per failed check and exits 1 if there was any.
"""
import json
import os
import re
import shlex
import stat
import subprocess
import sys
import tempfile

SAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "examples", "samples")
SAMPLE_FILES = {"public-key": "device.pub.pem", "private-key": "device.key.pem",
                "ca": "ca.crt", "cert": "device.crt"}
IDS = {"public-key": ".pem.enc", "private-key": ".key.enc", "ca": ".ca.crt.enc", "cert": ".crt.enc"}
failures = []


def check(ok, what):
    if not ok:
        failures.append(what)
        print("FAIL:", what)


def padded(size):
    return (size & ~15) + 16


def read(path):
    with open(path, "rb") as f:
        return f.read()


def write(path, data):
    with open(path, "wb") as f:
        f.write(data)


class Tool:
    """The installed command, with a persistent-storage path."""

    def __init__(self, command, storage):
        self.command, self.storage = command, storage
        self.keys = os.path.join(storage, "zel_keystore")

    def run(self, *args, storage=True, tty=False):
        argv = self.command + (["--storage", self.storage] if storage else []) + list(args)
        if tty:  # standard output a terminal: through script(1)
            argv = ["script", "-qec", shlex.join(argv), "/dev/null"]
        done = subprocess.run(argv, stdin=subprocess.DEVNULL, capture_output=True)
        return done.returncode, done.stdout, done.stderr.decode("utf-8", "replace")

    def files(self):
        return sorted(os.listdir(self.keys)) if os.path.isdir(self.keys) else []


def expect(tool, args, code, out=None, err=None, **kwargs):
    """Runs the tool; checks the exit status and that stdout/stderr match the
    regular expressions given. Returns (stdout, stderr)."""
    got, stdout, stderr = tool.run(*args, **kwargs)
    what = "zel-keychain " + " ".join(args)
    check(got == code, f"{what}: exit {got}, expected {code}; stderr: {stderr.strip()}")
    if out is not None:
        check(re.search(out, stdout.decode("utf-8", "replace"), re.M),
              f"{what}: stdout {stdout[:300]!r} does not match {out!r}")
    if err is not None:
        check(re.search(err, stderr, re.M), f"{what}: stderr {stderr!r} does not match {err!r}")
    return stdout, stderr


def sample(name):
    return os.path.join(SAMPLES, SAMPLE_FILES[name])


def store_args(name, files):
    return ["store", name] + [f"{item}={path}" for item, path in files.items()]


def damage(path, how):
    """Truncates the file to a length that is not whole blocks, or sets the
    pad byte of its last block to 0: the last plaintext byte is the byte of
    the block before XOR the decryption, so XOR-ing the pad value into that
    byte of the block before gives 0 (PKCS#7: pad = 16 - size % 16)."""
    data = bytearray(read(path))
    if how == "truncate":
        data = data[:-5]
    else:
        data[-17] ^= how
    write(path, bytes(data))


def commands(tool, work):
    usage_errors = [[], ["bogus"], ["list", "--bogus"], ["list", "extra"], ["get", "dev"],
                    ["store", "dev"], ["store", "dev", "cert"], ["store", "dev.v2", "cert=x"],
                    ["store", "dev", "cert=a", "cert=b"], ["store", "dev", "pem.enc=x"],
                    ["get", "dev", "cert", "--out"], ["get", "a/b", "cert"], ["verify", "a", "b"],
                    ["erase"], ["list", "--json=yes"], ["-x", "list"]]
    for args in usage_errors:
        expect(tool, args, 2, err=r"^zel-keychain: ")
    for args, shows in [(["--help"], r"^usage: zel-keychain .*COMMAND"),
                        (["store", "--help"], r"^usage: .* store NAME ID=FILE"),
                        (["verify", "-h"], r"^usage: .* verify \[NAME\]"),
                        (["--version"], r"^zel-keychain \d")]:
        expect(tool, args, 0, out=shows)

    # Refusals before anything is stored: a missing file, a short item.
    short = os.path.join(work, "short")
    write(short, b"0123456789")
    for items, names in [({"ca": sample("ca"), "cert": os.path.join(work, "missing")}, r"'\.crt\.enc' \(cert\).*missing"),
                         ({"ca": sample("ca"), "cert": short}, r"'\.crt\.enc' \(cert\).*10 bytes")]:
        expect(tool, store_args("dev", items), 1, err=names)
        check(tool.files() == [], f"store refused but left {tool.files()}")

    # The factory line: every item, verified.
    items = {name: sample(name) for name in SAMPLE_FILES}
    out, _ = expect(tool, store_args("dev", items) + ["--verify"], 0, out=r"^verified keychain 'dev': 4 items")
    check(len(re.findall(r"^stored 'dev\.", out.decode(), re.M)) == 4, f"store output {out!r}")
    check(all(stat.S_IMODE(os.stat(os.path.join(tool.keys, f)).st_mode) == 0o600 for f in tool.files()),
          "item files are not mode 0600")
    # The environment decides without --storage; options may follow arguments.
    env_tool = Tool(tool.command, tool.storage)
    os.environ["HEVO_PERSISTENT_STORAGE"] = tool.storage
    expect(env_tool, ["store", "env", f"cert={sample('cert')}", "--verify"], 0, storage=False)
    del os.environ["HEVO_PERSISTENT_STORAGE"]
    expect(tool, ["erase", "env"], 0)

    # What a device may also hold: a keychain stored as "dev.v2" (its files
    # group under "dev"), an odd name, and files that are no items.
    keys = tool.keys
    write(os.path.join(keys, "dev.v2.pem.enc"), read(os.path.join(keys, "dev.pem.enc")))
    odd = b"o\x01d\xffd.pem.enc"
    write(os.path.join(keys.encode(), odd), read(os.path.join(keys, "dev.pem.enc")))
    write(os.path.join(keys, ".hevo-tmp-1-1"), b"x" * 32)
    os.mkdir(os.path.join(keys, "dir.pem.enc"))
    os.symlink("dev.pem.enc", os.path.join(keys, "link.pem.enc"))
    os.mkfifo(os.path.join(keys, "fifo.pem.enc"))

    expect(tool, ["list"], 0, out=r"^dev: 5 items\n(  \S+ +\S+ +\d+ bytes\n){5}o\\x01d\\xffd: 1 item$",
           err=r"warning: files 'dev\.v2\.pem\.enc' look like the items of a keychain named 'dev\.v2'")
    out, _ = expect(tool, ["list", "--json", "--storage", tool.storage], 0, storage=False)
    listing = json.loads(out)  # strict: a raw control character fails
    sizes = {name: padded(os.path.getsize(sample(name))) for name in SAMPLE_FILES}
    wanted = {"dev": {IDS[name]: ("dev" + IDS[name], sizes[name]) for name in SAMPLE_FILES},
              "o\x01d\xffd": {".pem.enc": ("o\x01d\xffd.pem.enc", sizes["public-key"])}}
    wanted["dev"][".v2.pem.enc"] = ("dev.v2.pem.enc", sizes["public-key"])
    check({k["name"]: {i["id"]: (i["file"], i["size"]) for i in k["items"]} for k in listing["keychains"]} == wanted
          and listing["directory"] == keys, f"list --json: {listing}")
    check([(w["keychain"], w["name"], w["files"]) for w in listing["warnings"]] == [("dev", "dev.v2", ["dev.v2.pem.enc"])],
          f"list --json warnings: {listing['warnings']}")

    # get: to a pipe, to a new file (0600, never replaced), never to a terminal.
    cert = read(sample("cert"))
    out, _ = expect(tool, ["get", "dev", "cert"], 0)
    check(out == cert, "get to a pipe gave other bytes")
    got = os.path.join(work, "got.crt")
    expect(tool, ["get", "dev", ".crt.enc", f"--out={got}"], 0)
    check(read(got) == cert and stat.S_IMODE(os.stat(got).st_mode) == 0o600, "get --out: bytes or mode")
    write(got, b"keep")
    expect(tool, ["get", "dev", "cert", "--out", got], 1, err=r"exists")
    check(read(got) == b"keep", "get --out replaced an existing file")
    out, _ = expect(tool, ["get", "dev", "cert"], 1, out=r"refusing .* terminal; use --out FILE or a pipe", tty=True)
    check(b"CERTIFICATE" not in out, "get wrote the item to a terminal")
    expect(tool, ["get", "dev", ".nothing.enc"], 1, err=r"has no item '\.nothing\.enc'")

    # Damaged files: each one named, the others ok.
    expect(tool, ["verify"], 0, out=r"^6 item files: 6 ok, 0 damaged, 0 unreadable$")
    damage(os.path.join(keys, "dev.crt.enc"), "truncate")
    damage(os.path.join(keys, "dev.key.enc"), 16 - os.path.getsize(sample("private-key")) % 16)
    for args in (["verify"], ["verify", "dev"]):
        out, _ = expect(tool, args, 1, err=r"2 damaged and 0 unreadable")
        damaged = re.findall(r"^damaged +(\S+): (.*)$", out.decode(), re.M)
        check([d[0] for d in damaged] == ["dev.crt.enc", "dev.key.enc"]
              and "16-byte blocks" in damaged[0][1] and "padding" in damaged[1][1], f"{args}: {out!r}")
    out, _ = expect(tool, ["verify", "--json"], 1)
    states = {f["file"]: f["state"] for f in json.loads(out)["files"]}
    check(sorted(f for f, s in states.items() if s != "ok") == ["dev.crt.enc", "dev.key.enc"] and len(states) == 6,
          f"verify --json: {states}")
    expect(tool, ["get", "dev", "cert"], 1, err=r"dev\.crt\.enc' is damaged")
    expect(tool, ["store", "dev", f"public-key={sample('public-key')}", "--verify"], 1,
           err=r"'dev\.crt\.enc' is damaged.*\n(.*\n)*.*does not read back")

    # erase removes every file of "dev", damaged ones and those of "dev.v2" too.
    out, _ = expect(tool, ["erase", "dev"], 0, err=r"dev\.v2.*erasing them too")
    check(len(re.findall(r"^removed '", out.decode(), re.M)) == 5, f"erase output {out!r}")
    check(not any(f.startswith("dev") for f in tool.files()), f"erase left {tool.files()}")
    expect(tool, ["erase", "dev"], 1, err=r"has no item files")
    expect(tool, ["verify", "dev"], 1, err=r"has no item files")
    expect(tool, ["--storage", os.path.join(work, "nowhere"), "list"], 1, err=r"nowhere/zel_keystore", storage=False)


def full_file_system(tool, work):
    """One free page lets every new item through but the certificate, which
    needs two: the key store's result (its last item's) is then true, and
    the command must still fail and name the certificate."""
    old = {name: os.path.join(work, name + ".old") for name in IDS}
    new = {name: os.path.join(work, name + ".new") for name in IDS}
    for name in IDS:  # every item one page, but the new certificate two
        write(old[name], name.encode() * 20)
        write(new[name], name.encode() * (1100 if name == "cert" else 200))
    for free_pages, failed in [(0, ["ca", "cert", "private-key", "public-key"]), (1, ["cert"])]:
        os.makedirs(tool.storage)
        if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", tool.storage]).returncode != 0:
            print("SKIP: cannot mount a tmpfs here (needs root)")
            sys.exit(77)
        try:
            expect(tool, store_args("dev", old), 0)
            filler = os.path.join(tool.storage, "filler")
            with open(filler, "wb", buffering=0) as f:
                try:
                    while True:
                        f.write(b"f" * 4096)
                except OSError:
                    pass
            pages = os.path.getsize(filler) // 4096
            os.truncate(filler, (pages - free_pages) * 4096)
            _, err = expect(tool, store_args("dev", new), 1, err=r"items of keychain 'dev' were not stored")
            named = sorted(re.findall(r"item '[^']+' \((\S+)\) from .* was not stored", err))
            check(named == failed if free_pages == 0 else "cert" in named,
                  f"{free_pages} free pages: named {named}, expected {failed}")
            for name in failed:
                out, _ = expect(tool, ["get", "dev", name], 0)
                check(out == read(old[name]), f"{name} lost its old bytes")
        finally:
            subprocess.run(["umount", "-l", tool.storage])
            os.rmdir(tool.storage)


def main():
    group, cmake, build, emulator = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
    with tempfile.TemporaryDirectory() as work:
        prefix = os.path.join(work, "prefix")
        subprocess.run([cmake, "--install", build, "--prefix", prefix], check=True, stdout=subprocess.DEVNULL)
        check(os.path.isfile(os.path.join(prefix, "share", "man", "man1", "zel-keychain.1")), "manual page not installed")
        tool = Tool(emulator + [os.path.join(prefix, "bin", "zel-keychain")], os.path.join(work, "storage"))
        {"commands": commands, "full-file-system": full_file_system}[group](tool, work)
    print(f"{len(failures)} failed checks" if failures else "all checks passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
