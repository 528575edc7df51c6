"""The first start of the built launcher, on the display and session bus of the environment, with faults.

A start makes thousands of system calls, nearly all of them the libraries'. Looked at are those on files of the
launcher's own, by their paths, and those that make processes, threads, pipes, sockets and locks; of their faults the
seed draws some.

After a fault the launcher is alive, with a window whose status rows say what runs, or it has ended with a status and
left no child. Then it quits, and the next start runs both children.
"""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import time

PATIENCE = 60  # seconds, for a busy machine
WHOLE_START = 12  # seconds in which a start gets both children to run, unless a fault prevents it

FILE_CALLS = {"openat", "read", "write", "newfstatat", "mkdir", "rename", "fsync", "fchmod", "flock", "unlinkat", "unlink",
              "pwrite64", "pread64", "ftruncate", "access", "statx", "lseek", "getdents64", "readlink"}
OTHER_CALLS = {"pipe2", "vfork", "clone3", "execve", "socket", "bind", "listen", "accept4", "eventfd2", "waitid",
               "wait4", "dup2", "poll", "ppoll", "connect"}
CALL = re.compile(r"^(\d+) +(\w+)\((.*)")
ROWS = {"Lumora Core": "Orbix", "Qor Client": "qorclient"}


class FirstStart:
    name = "first-start"

    def __init__(self, build):
        self.launcher = build / "bin/ferrolt-miner-launcher"
        self.wrapper = build / "tests/in-own-network"
        self.practice = build / "practice"
        self.screen_reader = pathlib.Path(__file__).parent.parent / "end_to_end/screen-reader"
        cache = (build / "CMakeCache.txt").read_text()
        self.node_server = re.search(r"^FERROLT_NODE_SERVER_HOST:[^=]*=(.*)$", cache, re.MULTILINE)[1]

    def fresh_home(self, folder):
        home = folder / "home"
        shutil.rmtree(home, ignore_errors=True)
        properties = home / ".qor" / self.node_server / "MinerClient.properties"
        properties.parent.mkdir(parents=True)
        properties.write_text("MinerEmailAddress = ada@example.org\nMinerEntityName = Ada Lovelace\n")
        (home / "runtime").mkdir(mode=0o700)
        environment = {name: value for name, value in os.environ.items() if not name.startswith("XDG_")}
        return home, {**environment, "HOME": str(home), "XDG_RUNTIME_DIR": str(home / "runtime")}

    def faults(self, runner, error_kinds):
        """All that a start could meet: strace's arguments before the program."""
        home, environment = self.fresh_home(runner.folder)
        trace = runner.folder / "start-trace"
        start = Start(self, runner, environment, ["strace", "-f", "-y", "-o", trace])
        start.await_children()
        start.quit()
        own, other = {}, {}
        for line in trace.read_text(errors="replace").splitlines():
            match = CALL.match(line)
            if not match:
                continue
            thread, call, arguments = match.groups()
            if call in FILE_CALLS:
                for path in set(re.findall(rf"(?:{re.escape(str(home))}|{re.escape(str(self.practice))})[^\">]*", arguments)):
                    if ".ferrolt-save" not in path:
                        own.setdefault((call, path.replace(str(home), "HOME")), {}).setdefault(thread, []).append(1)
            elif call in OTHER_CALLS:
                other.setdefault(call, {}).setdefault(thread, []).append(1)
        found = []
        for (call, path), counts in sorted(own.items()):
            for number in range(1, min(3, max(map(len, counts.values()))) + 1):
                found += [["-P", path, kind, number] for kind in error_kinds(call, False)]
        for call, counts in sorted(other.items()):
            for number in range(1, min(40, max(map(len, counts.values()))) + 1):
                found += [[kind, number] for kind in error_kinds(call, False)]
        return [" ".join([*fault[:-2], f"{fault[-2]}:when={fault[-1]}"]) for fault in found]

    def outcome(self, runner, fault):
        """What was seen, whether the fault was met, and what was wrong."""
        home, environment = self.fresh_home(runner.folder)
        *paths, injection = fault.replace("HOME", str(home)).split(" ")
        trace = ["strace", "-f", "-qq", "-o", runner.folder / "start-trace", *paths,
                 "-e", f"trace={injection.split(':')[0]}", "-e", f"inject={injection}"]
        start = Start(self, runner, environment, trace)
        try:
            start.await_children()
            seen = "ended" if start.has_ended() else start.compare_window()
            start.quit()
            met = (runner.folder / "start-trace").read_text(errors="replace")
            is_hit = "(INJECTED)" in met or "killed by SIGKILL" in met
            start = Start(self, runner, environment, [])
            start.await_children(PATIENCE)
            start.require(start.children() == set(ROWS.values()), f"the next start runs only {start.children()}")
            start.quit()
            start.require(start.status == 0, f"the next start ends with status {start.status}")
            return seen, is_hit, None
        except start.Wrong as wrong:
            return "wrong", True, str(wrong)
        finally:
            start.kill()


class Start:
    class Wrong(Exception):
        pass

    def __init__(self, program, runner, environment, tracer):
        self.program, self.runner, self.environment = program, runner, environment
        self.is_traced = bool(tracer)
        with open(runner.folder / "start-errors", "wb") as errors:
            self.process = subprocess.Popen([program.wrapper, *tracer, program.launcher], env=environment,
                                            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=errors)

    def require(self, holds, what):
        if not holds:
            errors = (self.runner.folder / "start-errors").read_text(errors="replace")
            raise self.Wrong(f"{what} {errors[-300:]}".strip())

    @property
    def status(self):
        return self.process.poll()

    def has_ended(self):
        return self.status is not None

    @staticmethod
    def children_of(process):
        found = {}
        try:
            for task in pathlib.Path(f"/proc/{process}/task").iterdir():
                for child in (task / "children").read_text().split():
                    found[int(child)] = pathlib.Path(f"/proc/{child}/comm").read_text().strip()
        except OSError:  # it ended meanwhile
            pass
        return found

    def id(self):
        if not self.is_traced:
            return self.process.pid
        return next((child for child, name in self.children_of(self.process.pid).items()
                     if name == "ferrolt-miner-l"), None)

    def children(self):
        return set(self.children_of(self.id()).values()) & set(ROWS.values())

    def await_children(self, patience=WHOLE_START):
        deadline = time.monotonic() + patience
        while not self.has_ended() and time.monotonic() < deadline and self.children() != set(ROWS.values()):
            time.sleep(0.1)

    def compare_window(self):
        """Brings the window up and compares its status rows with the children."""
        try:
            again = subprocess.run([self.program.wrapper, self.program.launcher], env=self.environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   timeout=PATIENCE, check=False)
        except subprocess.TimeoutExpired:
            self.require(False, "a second start is not handed over")
        if self.has_ended():
            return "ended"
        self.require(again.returncode == 0, f"a second start ends with status {again.returncode}")
        deadline = time.monotonic() + PATIENCE
        while True:
            listed = subprocess.run([self.program.screen_reader, str(self.id()), "list"], env=self.environment,
                                    capture_output=True, text=True, check=False).stdout
            shown = {child for row, child in ROWS.items() if f"{row}, running" in listed}
            rows = sum(f"{row}, running" in listed or f"{row}, stopped" in listed for row in ROWS)
            if self.has_ended():
                return "ended"
            if rows == len(ROWS) and shown == self.children():
                return "true window"
            if time.monotonic() > deadline:
                self.require(rows == 0, f"the window shows {shown or 'nothing'} running, and {self.children() or 'nothing'} runs")
                return "no window for screen readers"

    def quit(self):
        if not self.has_ended() and self.id() is not None:
            os.kill(self.id(), signal.SIGTERM)
        try:
            self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.require(False, "it does not quit")
        self.runner.await_no_children(())

    def kill(self):
        if not self.has_ended():
            self.process.kill()
            self.process.wait()
        self.runner.kill_children()
