"""A real instance in a temporary home, started and used the way a person does it."""

import json
import os
import select
import shutil
import signal
import stat
import subprocess
import tempfile
import unittest
from pathlib import Path

BIN = Path(os.environ["TESSERA_BIN"])


def is_root():
    return os.geteuid() == 0


class Instance:
    """One home. `tessera(...)` runs the command line in it."""

    def __init__(self, folder, cloud=None, environment=None):
        self.home = Path(folder)
        self.cloud = cloud
        self.tree = self.home / "tree"
        self.environment = dict(os.environ, TESSERA_HOME=str(self.home), **(environment or {}))

    def tessera(self, *arguments, timeout=120, cwd=None, **options):
        return subprocess.run(
            [str(BIN / "tessera"), *map(str, arguments)],
            env=self.environment,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            timeout=timeout,
            cwd=cwd or "/",
            **options,
        )

    def ok(self, *arguments, **options):
        """Runs a command that must succeed; returns its standard output as text."""
        result = self.tessera(*arguments, **options)
        if result.returncode != 0:
            raise AssertionError(
                f"tessera {arguments} ended with {result.returncode}:\n"
                f"{result.stdout.decode(errors='replace')}\n{result.stderr.decode(errors='replace')}"
            )
        return result.stdout.decode()

    def fails(self, *arguments, status=1, **options):
        """Runs a command that must fail with `status`; returns its standard error as text."""
        result = self.tessera(*arguments, **options)
        if result.returncode != status:
            raise AssertionError(
                f"tessera {arguments} ended with {result.returncode}, not {status}:\n"
                f"{result.stdout.decode(errors='replace')}\n{result.stderr.decode(errors='replace')}"
            )
        return result.stderr.decode()

    def up(self):
        arguments = ["up"]
        if self.cloud:
            arguments += ["--cloud", self.cloud]
        self.ok(*arguments)
        return self

    def down(self):
        self.tessera("down")

    def status(self):
        return json.loads(self.ok("status", "--json"))

    def settle(self):
        """Waits until everything the cloud has is in the tree."""
        self.ok("status", "--wait")

    def ls(self, path="/", *options):
        return [json.loads(line) for line in self.ok("ls", "--json", *options, path).splitlines()]

    def names(self, path="/"):
        return [item["name"] for item in self.ls(path)]

    def info(self, path):
        return json.loads(self.ok("info", "--json", path))

    def error(self, *arguments, status=1):
        """The error object of a failing command run with --json."""
        result = self.tessera(*arguments, "--json")
        if result.returncode != status:
            raise AssertionError(f"{arguments}: {result.returncode} {result.stdout} {result.stderr}")
        return json.loads(result.stderr.splitlines()[-1])["error"]

    def log_lines(self):
        """The extension's log lines as they were formatted, oldest first."""
        lines = self.ok("log", "--level", "debug", "--json").splitlines()
        return [json.loads(line)["text"] for line in lines]


class InstanceTest(unittest.TestCase):
    """Makes instances below one temporary folder and ends them all."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="tessera-e2e-"))
        self.instances = []
        self.mounts = []

    def tearDown(self):
        for instance in self.instances:
            instance.down()
        for mount in reversed(self.mounts):
            subprocess.run(["umount", str(mount)], check=True)
        shutil.rmtree(self.folder)

    def instance(self, name="home", **options):
        instance = Instance(self.folder / name, **options)
        self.instances.append(instance)
        return instance

    def signed_in(self, name="home", account="ada", **options):
        instance = self.instance(name, **options).up()
        instance.ok("login", account)
        return instance

    def source(self, files, name="source"):
        """Makes a folder of files from {relative path: bytes}."""
        root = self.folder / name
        root.mkdir(exist_ok=True)
        for path, content in files.items():
            file = root / path
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_bytes(content)
        return root

    def with_documents(self, files, name="home", **options):
        """A signed-in instance whose cloud and tree hold `files`."""
        instance = self.signed_in(name, **options)
        instance.ok("cloud", "import", self.source(files))
        instance.settle()
        return instance

    def small_file_system(self, name, size):
        """Mounts a file system of `size` bytes; only root can."""
        if not is_root():
            print("SKIPPED, LOUDLY: mounting a small file system needs root", flush=True)
            self.skipTest("mounting a small file system needs root")
        mount = self.folder / name
        mount.mkdir()
        subprocess.run(
            ["mount", "-t", "tmpfs", "-o", f"size={size},mode=0700", "tmpfs", str(mount)], check=True
        )
        self.mounts.append(mount)
        return mount


def wait_for_end(pid):
    """Returns once a process that is not our child has ended."""
    try:
        descriptor = os.pidfd_open(pid)
    except ProcessLookupError:
        return
    poller = select.poll()
    poller.register(descriptor, select.POLLIN)
    if not poller.poll(60_000):
        raise AssertionError(f"process {pid} is still there")
    os.close(descriptor)


def kill_hard(pid):
    os.kill(pid, signal.SIGKILL)


def promises(folder):
    return sorted(name for name in os.listdir(folder) if name.startswith(".tessera-"))


def tree_state(folder):
    """Every path below `folder` with its kind, size and content: equal means untouched."""
    state = {}
    for path in sorted(Path(folder).rglob("*")):
        mode = path.lstat().st_mode
        content = path.read_bytes() if stat.S_ISREG(mode) else None
        state[str(path.relative_to(folder))] = (stat.S_IFMT(mode), content)
    return state
