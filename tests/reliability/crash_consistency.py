#!/usr/bin/env python3
"""crash_consistency.py: the key store under power loss, kills and failing
system calls, driven by a trace of its own file-system calls.

    crash_consistency.py crash-states|killed-calls|failing-calls [EMULATOR...] TOOL

TOOL is zel_keychain_tool, run through EMULATOR (qemu-user and its
arguments) when one is given. qemu-user makes each of the tool's
file-system calls as the same host call, and its own calls name no path
under the test's directory: the traced calls are the native run's, and an
injection's count (which includes qemu's calls) is taken from the same
emulated run. Three operations are traced with strace: replacing
a stored keychain, a first store where neither the persistent-storage
directory nor the key-store directory in it exists yet (the key store
creates both), and erasing a keychain. The trace, not a list kept here,
names the file-system calls: every call with a path (a path argument, a
descriptor's or a result's) under the test's directory.

crash-states: power loss. The model is the conservative one of published
crash-consistency checkers (ALICE, Pillai et al., OSDI 2014; CrashMonkey,
Mohan et al., OSDI 2018): a file's data is durable once the file is
fsynced; a directory entry (create, mkdir, rename, unlink) once its parent
directory is fsynced; at a crash, any subset of the operations not yet
durable may have reached the disk. For every point between two calls, every
such subset is applied to the state before the operation (all subsets up
to 10 pending operations; above that 1024 subsets drawn with a fixed seed,
plus none and all), the result is built as a real directory, and a fresh
process loads the keychain from it. Before the trace is used, applying every
operation must give the directory the real run left: the model misses
nothing.

killed-calls: the process is killed on entering each traced call in turn;
then the next store must leave no temporary behind and hold the new items.

failing-calls: each traced call in turn fails with EIO; the items the
store or erase reported (by log line) as failed hold their old or new
value, all others their new one, no temporary is left, and the result is
the one the key store defines (store: its last item's; erase: all items').

What must hold, per item of the sample keychain: during the operation it is
exactly its value before or after (an old item never disappears during a
replacement; a present item is never torn); once the call has returned true
it holds the value after, whatever the crash drops. Exit status 0 when all
holds, 1 with the violations listed, 77 when strace cannot run (skipped).
"""
import itertools
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile

# name, what the storage directory holds first (None: nothing), the call,
# each item's value before and after, and how the result is defined.
SCENARIOS = [
    ("replace", "old", ["store", "new"], "old", "new", "last"),
    ("first-store", None, ["store", "new"], "missing", "new", "last"),
    ("erase", "old", ["erase"], "old", "missing", "all"),
]
ALL_SUBSETS_UP_TO = 10
SAMPLED_SUBSETS = 1024
TEMP_PREFIX = ".hevo-tmp-"
LOCK_FILE = ".hevo-tmp-lock"
# Calls that change a file system but that the model does not know: a trace
# with one of them under the storage directory is refused.
UNMODELLED = {"creat", "truncate", "ftruncate", "fallocate", "pwrite64", "pwritev",
              "pwritev2", "writev", "link", "linkat", "symlink", "symlinkat",
              "copy_file_range", "sendfile", "sendfile64", "mknod", "mknodat"}
# Calls whose string arguments are data, not paths.
DATA_CALLS = {"read", "write", "pread64", "pwrite64", "readv", "writev"}
NO_LEAK_CHECK = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")  # not under ptrace


def run(args, env=None):
    return subprocess.run(args, capture_output=True, env=env, check=False)


def tool_run(tool, root, args, strace=()):
    """Runs the tool on the persistent-storage path |root|/storage: a first
    store creates that directory and the key-store directory in it."""
    command = [*tool, os.path.join(root, "storage"), *args]
    return run(["strace", *strace, *command] if strace else command,
               NO_LEAK_CHECK if strace else None)


def prepare(tool, root, setup):
    shutil.rmtree(root, ignore_errors=True)
    os.mkdir(root)
    if setup:
        assert tool_run(tool, root, ["store", setup]).stdout == b"returned 1\n"


def held(tool, root):
    """What a fresh process loads: ({item id: value}, thrown message or None)."""
    out = tool_run(tool, root, ["load"]).stdout.decode()
    items = dict(line.split(" ", 1) for line in out.splitlines() if not line.startswith("thrown "))
    thrown = [line for line in out.splitlines() if line.startswith("thrown ")]
    return items, thrown[0] if thrown else None


def temporaries(root):
    """What a store or erase left under the temporaries' prefix: its
    writer's temporaries and unfinished changes. The lock file stays."""
    dir_ = os.path.join(root, "storage", "zel_keystore")
    names = os.listdir(dir_) if os.path.isdir(dir_) else []
    return [n for n in names if n.startswith(TEMP_PREFIX) and n != LOCK_FILE]


# --- the trace --------------------------------------------------------------

LINE = re.compile(r"^(\w+)\((.*)\)\s+=\s+(-?\d+)(?:<(.*?)>)?")


def unhex(text):
    return bytes.fromhex(text.replace("\\x", ""))


def token(text):
    """An argument as strace -y -xx prints it: a string, or a descriptor with its path."""
    text = text.strip()
    if text.startswith('"'):
        return unhex(text[1:text.index('"', 1)])
    match = re.match(r"^(\w+)<(.*)>$", text)
    return (match.group(1), unhex(match.group(2))) if match else text


class Call:
    def __init__(self, name, args, result, result_path, number, line):
        self.name, self.args, self.result = name, args, result
        self.result_path, self.number, self.line = result_path, number, line


def record(tool, root, args, trace):
    """Runs the call under strace, which must return true; returns the calls
    that name |root| and the index among them of the first call after the
    call returned."""
    done = tool_run(tool, root, args, ["-y", "-xx", "-s", "1000000", "-o", trace])
    assert done.returncode == 0 and done.stdout == b"returned 1\n", done
    root_bytes = root.encode()
    root_hex = "".join("\\x%02x" % b for b in root_bytes)
    calls, counts, returned_at = [], {}, None
    with open(trace) as lines:
        for line in lines:
            match = LINE.match(line)
            if not match:
                continue
            name = match.group(1)
            counts[name] = counts.get(name, 0) + 1
            if name == "write" and "\\x72\\x65\\x74\\x75\\x72\\x6e\\x65\\x64" in line:
                returned_at = len(calls)  # "returned", on standard output
            if root_hex not in line or name.startswith("exec"):
                continue
            args = [token(a) for a in match.group(2).split(", ")]
            result_path = unhex(match.group(4)) if match.group(4) else None
            # Paths: of descriptors, of results, and the string arguments of
            # calls that take paths (not the data of a read or write).
            paths = [a[1] for a in args if isinstance(a, tuple)] + [result_path] + [
                a for a in args if isinstance(a, bytes) and name not in DATA_CALLS]
            if not any(p and (p == root_bytes or p.startswith(root_bytes + b"/")) for p in paths):
                continue
            calls.append(Call(name, args, int(match.group(3)), result_path, counts[name], line))
    assert returned_at is not None, "no 'returned' line in the trace"
    return calls, returned_at


# --- the model --------------------------------------------------------------

class Disk:
    """Directories map names to inodes; files are inodes with bytes."""

    def __init__(self, root):
        self.entries, self.data, self.paths = {0: {}}, {}, {root.encode(): 0}
        self.load(root, 0)

    def load(self, path, inode):
        for name in sorted(os.listdir(path)):
            child, full = len(self.paths), os.path.join(path, name)
            self.entries[inode][name.encode()] = child
            self.paths[full.encode()] = child
            if os.path.isdir(full):
                self.entries[child] = {}
                self.load(full, child)
            else:
                with open(full, "rb") as f:
                    self.data[child] = bytearray(f.read())

    def copy(self):
        other = Disk.__new__(Disk)
        other.entries = {k: dict(v) for k, v in self.entries.items()}
        other.data = {k: bytearray(v) for k, v in self.data.items()}
        return other

    def apply(self, op):
        kind = op[0]
        if kind == "link":  # create or mkdir
            _, dir_, name, inode, is_dir = op
            self.entries.setdefault(dir_, {})[name] = inode
            if is_dir:
                self.entries.setdefault(inode, {})
            else:
                self.data.setdefault(inode, bytearray())
        elif kind == "unlink":
            self.entries.setdefault(op[1], {}).pop(op[2], None)
        elif kind == "rename":
            _, src_dir, src, dst_dir, dst, inode = op
            self.entries.setdefault(src_dir, {}).pop(src, None)
            self.entries.setdefault(dst_dir, {})[dst] = inode
            self.data.setdefault(inode, bytearray())
        elif kind == "write":
            _, inode, offset, data = op
            content = self.data.setdefault(inode, bytearray())
            content.extend(b"\0" * max(0, offset - len(content)))
            content[offset:offset + len(data)] = data

    def tree(self, inode=0, prefix=b""):
        """The reachable tree as a sorted tuple of (path, bytes or None)."""
        out = []
        for name, child in sorted(self.entries[inode].items()):
            if child in self.entries:
                out.append((prefix + name, None))
                out.extend(self.tree(child, prefix + name + b"/"))
            else:
                out.append((prefix + name, bytes(self.data.get(child, b""))))
        return tuple(out)


def describe(op):
    names = [x.decode(errors="replace") for x in op if isinstance(x, bytes) and len(x) < 100]
    return " ".join([op[0]] + names) if op[0] != "write" else "write of %d bytes" % len(op[3])


def build(tree, root):
    shutil.rmtree(root, ignore_errors=True)
    os.mkdir(root)
    for path, data in tree:
        full = os.path.join(root.encode(), path)
        if data is None:
            os.mkdir(full)
        else:
            with open(full, "wb") as f:
                f.write(data)


def model(calls, start, returned_at):
    """Turns the calls into operations on |start|. Returns (ops, durable,
    returned): durable[i] is the index of the sync after which operation i
    is durable (None: never), returned the number of operations made before
    the call returned. Syncs are operations too, that change nothing."""
    live, next_inode, offsets = dict(start.paths), [len(start.paths) + 1], {}
    ops, durable, pending_deps, returned = [], [], [], None

    def path_of(dir_token, name):
        return name if name.startswith(b"/") else dir_token[1] + b"/" + name

    def new_op(op, deps):
        ops.append(op)
        durable.append(None)
        pending_deps.append(set(deps))

    def add(path, is_dir):
        inode = next_inode[0] = next_inode[0] + 1
        parent = live[os.path.dirname(path)]
        live[path] = inode
        new_op(("link", parent, os.path.basename(path), inode, is_dir), [parent])

    def move(src, dst):
        inode = live.pop(src)
        live[dst] = inode
        # A directory takes what it holds along.
        for path in [p for p in live if p.startswith(src + b"/")]:
            live[dst + path[len(src):]] = live.pop(path)
        src_dir, dst_dir = live[os.path.dirname(src)], live[os.path.dirname(dst)]
        new_op(("rename", src_dir, os.path.basename(src), dst_dir, os.path.basename(dst), inode),
               [src_dir, dst_dir])

    for index, call in enumerate(calls):
        name, a = call.name, call.args
        if index == returned_at:
            returned = len(ops)
        if call.result < 0:
            continue
        if name in UNMODELLED:
            raise AssertionError("a call the model does not know: " + call.line)
        if name in ("openat", "open"):
            flags = a[2] if name == "openat" else a[1]
            path = call.result_path
            offsets[call.result] = 0
            if "O_CREAT" in flags and path not in live:
                add(path, False)
            elif "O_TRUNC" in flags:
                raise AssertionError("truncation is not modelled: " + call.line)
        elif name in ("mkdir", "mkdirat"):
            add(a[0] if name == "mkdir" else path_of(a[0], a[1]), True)
        elif name == "write":
            data = a[1][:call.result]
            fd = int(a[0][0])
            new_op(("write", live[a[0][1]], offsets.get(fd, 0), data), [live[a[0][1]]])
            offsets[fd] = offsets.get(fd, 0) + len(data)
        elif name in ("fsync", "fdatasync"):
            inode = live[a[0][1]]
            new_op(("sync",), [])
            for i, deps in enumerate(pending_deps):
                if inode in deps:
                    deps.discard(inode)
                    if not deps:
                        durable[i] = len(ops) - 1
        elif name == "rename":
            move(a[0], a[1])
        elif name in ("renameat", "renameat2"):
            move(path_of(a[0], a[1]), path_of(a[2], a[3]))
        elif name in ("unlink", "rmdir", "unlinkat"):
            path = path_of(a[0], a[1]) if name == "unlinkat" else a[0]
            parent = live[os.path.dirname(path)]
            live.pop(path)
            new_op(("unlink", parent, os.path.basename(path)), [parent])
    return ops, durable, len(ops) if returned is None else returned


def crash_trees(start, ops, durable, returned_at_op):
    """Yields (crash point, returned, dropped operations, tree) for every
    crash state."""
    rng = random.Random(14)
    for point in range(len(ops) + 1):
        pending = [i for i in range(point) if ops[i][0] != "sync" and
                   (durable[i] is None or durable[i] >= point)]
        if len(pending) <= ALL_SUBSETS_UP_TO:
            subsets = itertools.chain.from_iterable(
                itertools.combinations(pending, n) for n in range(len(pending) + 1))
        else:
            subsets = [(), tuple(pending)] + [
                tuple(i for i in pending if rng.random() < 0.5) for _ in range(SAMPLED_SUBSETS)]
        for chosen in subsets:
            disk = start.copy()
            for i in range(point):
                if i not in pending or i in chosen:
                    disk.apply(ops[i])
            yield point, point >= returned_at_op, set(pending) - set(chosen), disk.tree()


# --- the checks -------------------------------------------------------------

def violations(values, thrown, allowed):
    """Per item: each holds one of the |allowed| versions."""
    if thrown:
        return ["load " + thrown]
    return ["%s holds %s" % (i, v) for i, v in sorted(values.items()) if v not in allowed]


def keychain_violations(values, thrown, allowed):
    """The keychain as a whole: every item holds the same one of the
    |allowed| versions."""
    if thrown:
        return ["load " + thrown]
    if len(set(values.values())) == 1 and set(values.values()) <= allowed:
        return []
    return ["the keychain holds " + ", ".join("%s %s" % item for item in sorted(values.items()))]


def check_crash_states(tool, work, scenario):
    name, setup, args, before, after, _ = scenario
    root, image = os.path.join(work, "root"), os.path.join(work, "image")
    prepare(tool, root, setup)
    start = Disk(root)
    calls, returned_at = record(tool, root, args, os.path.join(work, "trace"))
    ops, durable, returned_at_op = model(calls, start, returned_at)
    everything = start.copy()
    for op in ops:
        everything.apply(op)
    if everything.tree() != Disk(root).tree():
        return ["the model of the trace does not give the directory the run left"]
    seen, problems, states = {}, [], 0
    for point, returned, dropped, tree in crash_trees(start, ops, durable, returned_at_op):
        states += 1
        key = (tree, returned)
        if key in seen:
            continue
        build(tree, image)
        values, thrown = held(tool, image)
        seen[key] = keychain_violations(values, thrown, {after} if returned else {before, after})
        if seen[key]:
            problems.append("crash after %d of %d operations%s, dropping [%s]: %s" % (
                point, len(ops), " (the call had returned true)" if returned else "",
                ", ".join(describe(ops[i]) for i in sorted(dropped)), "; ".join(seen[key])))
    print("%s: %d file-system calls, %d operations, %d crash states, %d distinct loaded"
          % (name, len(calls), len(ops), states, len(seen)))
    return problems


def inject(tool, root, args, call, what, work):
    trace = os.path.join(work, "injected")
    done = tool_run(tool, root, args, ["-y", "-o", trace, "-e", "trace=" + call.name, "-e",
                                       "inject=%s:%s:when=%d" % (call.name, what, call.number)])
    with open(trace) as lines:
        # An injected error is marked; a killed call never returns.
        hit = [line for line in lines if "INJECTED" in line or line.rstrip().endswith("= ?")]
    return done, bool(hit) and root in hit[0]


def check_calls(tool, work, scenario, what):
    name, setup, args, before, after, result_rule = scenario
    root = os.path.join(work, "root")
    prepare(tool, root, setup)
    calls, _ = record(tool, root, args, os.path.join(work, "trace"))
    problems = []
    for call in calls:
        readable = re.sub(r"(\\x[0-9a-f]{2})+", lambda m: unhex(m.group(0)).decode(
            errors="replace"), call.line)
        where = "%s #%d (%s)" % (call.name, call.number, readable.strip()[:120])
        prepare(tool, root, setup)
        done, hit = inject(tool, root, args, call, what, work)
        if not hit:
            problems.append(where + ": the injection missed the call")
            continue
        values, thrown = held(tool, root)
        if what == "signal=KILL":
            found = keychain_violations(values, thrown, {before, after})
            if done.returncode != -9:
                found.append("not killed: exit %d" % done.returncode)
            next_store = tool_run(tool, root, ["store", "new"])
            values, thrown = held(tool, root)
            if next_store.stdout != b"returned 1\n" or temporaries(root):
                found.append("the next store left %s" % temporaries(root))
            found += keychain_violations(values, thrown, {"new"})
        else:
            failed = set(re.findall(r"for '(.*)'\.", done.stderr.decode()))
            found = violations({i: v for i, v in values.items() if i not in failed}, thrown, {after})
            found += violations({i: v for i, v in values.items() if i in failed}, None,
                                {before, after})
            ids = sorted(values)
            expected = not failed if result_rule == "all" else ids[-1] not in failed
            if done.stdout != (b"returned 1\n" if expected else b"returned 0\n"):
                found.append("printed %r with %s failed" % (done.stdout, sorted(failed)))
            if temporaries(root):
                found.append("temporaries left: %s" % temporaries(root))
        problems += [where + ": " + problem for problem in found]
    print("%s: %s at each of %d file-system calls" % (name, what, len(calls)))
    return problems


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in ("crash-states", "killed-calls", "failing-calls"):
        sys.exit(__doc__)
    check, tool = sys.argv[1], sys.argv[2:-1] + [os.path.abspath(sys.argv[-1])]
    probe = run(["strace", "-o", "/dev/null", "true"])
    if probe.returncode != 0:
        print("skipped: strace cannot trace here: %r" % probe.stderr)
        sys.exit(77)
    problems = []
    for scenario in SCENARIOS:
        with tempfile.TemporaryDirectory(prefix="zel-crash-") as work:
            if check == "crash-states":
                found = check_crash_states(tool, work, scenario)
            else:
                what = "signal=KILL" if check == "killed-calls" else "error=EIO"
                found = check_calls(tool, work, scenario, what)
        problems += ["%s: %s" % (scenario[0], p) for p in found]
    for problem in problems[:40]:
        print("FAIL " + problem)
    print("%d violations" % len(problems))
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
