#!/usr/bin/env python3
"""faults.py BUILD SCRATCH [--quick] [--seed S] [--starts N] [--only "OPERATION [FAULT]"]: makes one system call of an operation of the
product fail, or be the last before a kill -9, and looks at what that leaves; for each system call that the operation
makes, for each error that it could return, for the first such call, the second, and so on until the operation makes no
more of them. Run by tools/faults, which makes SCRATCH and ends what is left.

After each fault: every file is the complete old or the complete new one and nothing lies beside it, what the operation
reports is true, no child is left, and the same operation without a fault then succeeds. After a kill a file may lie
beside the others, until that next operation.

strace injects the faults. It counts calls for each thread apart, so that one run may meet the third write() of several
threads. Calls that programs make which the product starts are hit too, but only those of the product itself decide how
far the counting goes.
"""

import argparse
import collections
import concurrent.futures
import ctypes
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import time

from first_start import FirstStart

TIME_LIMIT = 120  # seconds for one operation; the slowest takes one, and an unanswered request 30
END_LIMIT = 30  # seconds in which children have to end after the operation; the terminate request reaches them at once

FILE_ERRORS = ["EIO", "ENOSPC", "EMFILE", "EINTR", "ENOMEM", "EAGAIN"]
MEMORY = ["brk", "mmap", "mprotect", "mremap", "madvise"]
ERRORS = {  # of the system calls that are no file calls
    **dict.fromkeys(MEMORY, ["ENOMEM"]),
    **dict.fromkeys(["clone", "clone3", "fork", "vfork"], ["EAGAIN", "ENOMEM"]),
    **dict.fromkeys(["execve"], ["EIO", "EMFILE", "ENOMEM", "EAGAIN"]),
    **dict.fromkeys(["pipe2", "socket", "socketpair", "eventfd2", "timerfd_create", "epoll_create1", "inotify_init1",
                     "dup", "dup2", "dup3", "memfd_create"], ["EMFILE", "ENOMEM"]),
    **dict.fromkeys(["poll", "ppoll", "select", "pselect6"], ["EINTR", "ENOMEM", "EAGAIN"]),
    **dict.fromkeys(["connect", "bind", "listen", "accept4", "sendto", "recvfrom", "sendmsg", "recvmsg", "sendmmsg",
                     "getsockopt", "setsockopt", "getsockname", "getpeername", "shutdown", "ioctl"],
                    ["EIO", "EINTR", "ENOMEM", "EAGAIN"]),
    **dict.fromkeys(["wait4", "waitid", "clock_nanosleep", "nanosleep"], ["EINTR"]),
}
# For a process that passes what it should; here only a kill is of interest. futex: its waits fail, its wakes never do.
# close: it does its work even if it fails, but strace leaves out the calls that it fails.
NEVER_FAIL = {
    "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "sigaltstack", "getpid", "getppid", "gettid", "getuid", "geteuid",
    "getgid", "getegid", "setpgid", "setsid", "prctl", "arch_prctl", "set_tid_address", "set_robust_list", "rseq",
    "uname", "sysinfo", "getcwd", "munmap", "sched_yield", "sched_getaffinity", "tgkill", "kill", "prlimit64",
    "clock_gettime", "gettimeofday", "restart_syscall", "exit", "setpriority", "getpriority", "umask", "close_range",
    "membarrier", "sched_setscheduler", "sched_getparam", "sched_getscheduler", "sched_setattr", "sched_getattr",
    "ioprio_set", "getrandom", "futex", "close"}
IGNORED = {"exit_group"}

CALL = re.compile(r"^(\d+) +(\w+)\(")
EXECUTED = re.compile(r"^(\d+) +(?:execve\(.*|<\.\.\. execve resumed>.*)= 0$")
# By which Qt wakes a thread: the kernel adds 1 to a counter, and fails that only when it would not fit into 64 bits.
IMPOSSIBLE = re.compile(r"write\(\d+<anon_inode:\[eventfd\]>.*\(INJECTED\)")
ENDED = re.compile(r"^(\d+) +\+\+\+ (?:exited with|killed by) (\w+)")


class Wrong(Exception):
    """What a fault left that it should not have."""


def require(holds, what):
    if not holds:
        raise Wrong(what)


class Trace:
    """What strace wrote: the product's own system calls, and how each process ended."""

    def __init__(self, file):
        self.calls = {}  # of the product, not of programs that it started: {system call: most calls of a thread}
        self.is_hit = self.is_hit_in_program = False
        self.ended = {}
        self.programs = set()
        counts = {}
        for line in file.read_text(errors="replace").splitlines():
            if match := CALL.match(line):
                thread, name = match.groups()
                if thread not in self.programs:
                    counts[thread, name] = counts.get((thread, name), 0) + 1
            if "(INJECTED)" in line:
                if line.split(" ", 1)[0] in self.programs:
                    self.is_hit_in_program = True
                else:
                    self.is_hit = True
            if match := EXECUTED.match(line):
                self.programs.add(match[1])
            if match := ENDED.match(line):
                self.ended[match[1]] = match[2]
                self.is_hit |= match[2] == "SIGKILL" and match[1] not in self.programs
        for (_, name), count in counts.items():
            self.calls[name] = max(count, self.calls.get(name, 0))


def files_below(folder):
    """{path below the folder: (mode, content or link's target)} of all but folders."""
    found = {}
    for path in sorted(folder.rglob("*")):
        if path.is_symlink():
            found[str(path.relative_to(folder))] = ("link", os.readlink(path))
        elif not path.is_dir():
            found[str(path.relative_to(folder))] = (oct(path.stat().st_mode & 0o7777), path.read_bytes())
    return found


class Operation:
    """A world in a folder, and the rules that hold in it. `watched` is where nothing else may appear."""

    name = ""
    subject = ""
    watched = "."
    may_leave_children = False
    bound = 40  # of the calls of one kind, this many are made to fail, and as many drawn of the others

    def look(self, world):
        return files_below(world / self.watched)

    def lay_out(self, folder):
        raise NotImplementedError

    def check_report(self, report, old, found, new, trace):
        """`report` is None when the operation did not get to its end."""

    def succeeded(self, report):
        return True

    def check_files(self, found, old, new, fault):
        if fault.endswith(":signal=KILL"):
            found = {path: file for path, file in found.items() if "/.ferrolt-save-" not in "/" + path}
        require(found in (old, new), "neither the old files nor the new ones: " + difference(found, old, new))


class SaveIdentity(Operation):
    name = subject = "save-identity"
    watched = "home/.qor/nodes.test"

    def lay_out(self, folder):
        file = folder / self.watched / "MinerClient.properties"
        file.parent.mkdir(parents=True)
        file.write_text("# kept\nMinerEmailAddress = old@example.org\nOther = kept\n")
        file.chmod(0o640)


class FirstSave(Operation):
    name = "first-save"
    subject = "save-identity"
    watched = "home"

    def lay_out(self, folder):
        (folder / "home").mkdir()


class StoreSetting(Operation):
    name = subject = "store-setting"
    watched = "config"

    def lay_out(self, folder):
        file = folder / "config/settings.json"
        file.parent.mkdir()
        file.write_text('{"InstalledLibreOfficeVersion": "7.6.4", "Other": "kept"}\n')
        file.chmod(0o640)
        (file.parent / "another.json").write_text("another's")

    def check_report(self, report, old, found, new, trace):
        require(report != "saved" or found == new, "it reports a saved setting, and the file is the old one")
        require(report != "failed" or found == old, "it reports a failure, and the file is the new one")

    def succeeded(self, report):
        return report == "saved"


class LaunchChild(Operation):
    name = subject = "launch-child"
    watched = "home"
    behaviour = "wait"

    def __init__(self, build):
        self.child = build / "tests/practice-child"

    def lay_out(self, folder):
        (folder / "home").mkdir()
        os.link(self.child, folder / "child")
        (folder / "child.behaviour").write_text(self.behaviour + "\n")

    def check_report(self, report, old, found, new, trace):
        if report is None or report.startswith("failed "):
            return
        first, _, output = report.partition("\n")
        word, status, reports = first.split()
        require(word == "ended" and reports == "1", f"the child's end was reported {reports} times")
        if trace is not None:
            is_whole = "ready\n".startswith(output) or "grandchild=".startswith(output[:11])
            require(is_whole or trace.is_hit_in_program, f"the child never wrote {output!r}")
            # A child that was killed before it became a program is in the trace like a thread.
            ends = {trace.ended.get(program, "?") for program in trace.programs}
            ends |= {"SIGKILL"} & set(trace.ended.values())
            ends = {str(getattr(signal, end).value) if end.startswith("SIG") else end for end in ends}
            require(status in ends, f"it reports status {status}, and the child's was {', '.join(ends)}")

    def succeeded(self, report):
        return report == "ended 15 1\nready\n"


class LaunchParent(LaunchChild):
    """The child ends and leaves a process that holds the pipe. Nobody but the harness ends that one."""

    name = "launch-parent"
    behaviour = "grandchild"
    may_leave_children = True

    def succeeded(self, report):
        return re.fullmatch(r"ended 0 1\ngrandchild=\d+\n", report) is not None


class Install(Operation):
    """A download, an archiver and a copy; the copy's prompt is the harness's own, so what it leaves half done is, too."""

    name = subject = "install"
    bound = 5

    def __init__(self, servers):
        self.servers = servers

    def look(self, world):
        application = world / "Applications/LibreOffice.app"
        settings = world / "config/settings.json"
        return {"application": files_below(application) if application.is_dir() else None,
                "settings": settings.read_bytes(),
                "beside": [path.name for path in (world / "config").iterdir() if path != settings],
                "staging": [path.name for path in (world / "tmp").iterdir()]}

    def lay_out(self, folder):
        for name in ("Applications/LibreOffice.app", "config", "tmp"):
            (folder / name).mkdir(parents=True)
        (folder / "Applications/LibreOffice.app/content").write_text("old")
        (folder / "config/settings.json").write_text('{\n    "InstalledLibreOfficeVersion": "7.6.4"\n}\n')
        for name in ("server", "authority.pem"):
            shutil.copy(self.servers / name, folder)

    def check_files(self, found, old, new, fault):
        applications = [None, old["application"], new["application"]]
        require(found["application"] in applications, "the application is torn")
        require(found["settings"] in (old["settings"], new["settings"]), f"the settings are {found['settings']}")
        # A folder that cannot be removed now is removed by the next installation.
        call = fault.split(":")[0]
        if not fault.endswith(":signal=KILL") and call not in self.REMOVING:
            require(found["staging"] == [], f"it leaves the folder {found['staging']}")
        if not fault.endswith(":signal=KILL"):
            require(found["beside"] == [], f"beside the settings lies {found['beside']}")

    REMOVING = {"openat", "getdents64", "newfstatat", "fstat", "fchmod", "fchmodat", "unlinkat", "fcntl", "brk", "mmap"}

    def check_report(self, report, old, found, new, trace):
        if report is None:
            return
        if report.startswith("installed "):
            require(found["application"] == new["application"], "it reports an installation, and there is none")
        else:
            require(report.startswith("failed "), f"it reports {report!r}")
            require(found["application"] != new["application"] or trace.is_hit_in_program or "authorization" in report,
                    "it reports a failure, and installed the application")
            require(found["settings"] == old["settings"], "it reports a failure, and recorded the version")

    def succeeded(self, report):
        return report in ("installed 26.2.4", "alreadyCurrent ")


class Runner:
    """Runs operations in one worker process, which adopts what they leave behind."""

    def __init__(self, build, scratch):
        self.subject = build / "tests/faults-subject"
        self.folder = scratch / f"worker-{os.getpid()}"
        self.folder.mkdir(exist_ok=True)
        self.report = self.folder / "report"
        self.trace = self.folder / "trace"
        self.errors = self.folder / "errors"

    def fresh_world(self, operation):
        world = self.folder / "world"
        subprocess.run(["rm", "-rf", world], check=True)
        world.mkdir()
        operation.lay_out(world)
        return world

    def perform(self, operation, world, strace=None):
        """The report of the operation, None if it was killed on the way, and the trace."""
        with open(self.report, "wb") as report:
            report.truncate(65536)
        with open(self.errors, "wb") as errors:
            subject = subprocess.Popen([self.subject, operation.subject, world, self.report],
                                       stdin=subprocess.DEVNULL, stderr=errors)
        tracer = None
        try:
            os.waitid(os.P_PID, subject.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
            if strace is not None:
                tracer = subprocess.Popen([*strace, "-o", self.trace, "-p", str(subject.pid)],
                                          stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
                line = tracer.stderr.readline()
                if "attached" not in line:
                    sys.exit(f"strace cannot attach: {line}")
            os.kill(subject.pid, signal.SIGCONT)
            try:
                status = subject.wait(TIME_LIMIT)
            except subprocess.TimeoutExpired:
                raise Wrong(f"it hangs: not done after {TIME_LIMIT} s") from None
            report = self.report.read_bytes().split(b"\0", 1)[0].decode() if status == 0 else None
            errors = self.errors.read_text(errors="replace")
            require("ASSERT" not in errors, f"an assertion fails: {errors}")
            require(report != "", "it ended without a report")
            require(status <= 0, f"it ended with status {status}")
            if operation.may_leave_children:
                self.kill_children({tracer})
            self.await_no_children({tracer})
            trace = None
            if tracer is not None:
                tracer.communicate(timeout=TIME_LIMIT)
                trace = Trace(self.trace)
            return report, trace
        finally:
            for process in (subject, tracer):
                if process is not None and process.poll() is None:
                    process.kill()
                    process.wait()
            self.kill_children()

    @staticmethod
    def children(but=()):
        found = {}
        expected = {process.pid for process in but if process is not None}
        for task in pathlib.Path("/proc/self/task").iterdir():
            for child in {int(child) for child in (task / "children").read_text().split()} - expected:
                try:
                    found[child] = pathlib.Path(f"/proc/{child}/comm").read_text().strip()
                except OSError:
                    pass
        return found

    def await_no_children(self, but):
        deadline = time.monotonic() + END_LIMIT
        while left := self.children(but):
            for child in left:
                try:
                    os.waitpid(child, os.WNOHANG)
                except ChildProcessError:
                    pass
            require(time.monotonic() < deadline, f"children are left: {', '.join(left.values())}")
            time.sleep(0.002)

    def kill_children(self, but=()):
        for child in self.children(but):
            os.kill(child, signal.SIGKILL)
            os.waitpid(child, 0)

    def outcome(self, operation, fault, golden):
        """Whether the fault met the product, and what was wrong with what followed."""
        world = self.fresh_world(operation)
        old = operation.look(world)
        is_hit = True
        try:
            report, trace = self.perform(operation, world, strace_of(fault))
            is_hit = trace.is_hit
            require(report is not None or may_end(fault), f"it died: {self.errors.read_text(errors='replace')}")
            found = operation.look(world)
            operation.check_files(found, old, golden, fault.rpartition(":")[0])
            operation.check_report(report, old, found, golden, trace)
            again, _ = self.perform(operation, world)
            require(again is not None and operation.succeeded(again), f"the next one reports {again!r}")
            found = operation.look(world)
            require(found == golden, "after the next one: " + difference(found, old, golden))
            return is_hit, None
        except Wrong as wrong:
            return is_hit, None if IMPOSSIBLE.search(self.trace.read_text(errors="replace")) else str(wrong)


def difference(found, old, new):
    told = []
    for path in sorted({*found, *old, *new}):
        if path not in found:
            told.append(f"{path} is missing")
        elif path not in old and path not in new:
            told.append(f"{path} lies beside")
        elif found[path] not in (old.get(path), new.get(path)):
            told.append(f"{path} is {found[path]}")
    return "; ".join(told) or "a mixture of both"


def may_end(fault):
    """Whether the process may die of it: nothing of it can run on without memory."""
    return "signal=KILL" in fault or fault.split(":")[0] in MEMORY


def strace_of(fault):
    """`fault` as strace's -e inject= takes it."""
    return ["strace", "-f", "-y", "-e", f"trace={fault.split(':')[0]},execve", "-e", f"inject={fault}"]


runner = None


def start_worker(build, scratch):
    global runner
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)  # PR_SET_CHILD_SUBREAPER
    runner = Runner(build, scratch)


def explore(operation):
    """The files after an operation without a fault, and the system calls that it makes."""
    world = runner.fresh_world(operation)
    report, trace = runner.perform(operation, world, ["strace", "-f"])
    if report is None or not operation.succeeded(report):
        sys.exit(f"{operation.name} fails without a fault: {report!r}")
    return operation.look(world), trace.calls


def inject(operation, kind, numbers, goes_on, golden):
    """Injects the fault into the calls of these numbers, and if it goes on into the next ones until there are no more.
    A list of (fault, whether it met the product, what was wrong)."""
    outcomes = []
    last = numbers[-1]
    while numbers:
        number = numbers.pop(0)
        fault = f"{kind}:when={number}"
        is_hit, wrong = runner.outcome(operation, fault, golden)
        outcomes.append((fault, is_hit, wrong))
        if not numbers and goes_on and is_hit and number < last + 100:
            numbers = [number + 1]
    return outcomes


def explore_starts(program):
    return program.faults(runner, kinds_of)


def inject_start(program, fault):
    return fault, *program.outcome(runner, fault)


def kinds_of(call, is_quick):
    if call in IGNORED:
        return []
    errors = [] if call in NEVER_FAIL else ERRORS.get(call, FILE_ERRORS)
    if is_quick:
        errors = errors[:1]
    return [f"{call}:error={error}" for error in errors] + [f"{call}:signal=KILL"]


def numbers_of(count, bound, is_quick, generator):
    """Which calls of `count`: all, or the first ones and a sample of the others. And whether to look for more."""
    numbers = list(range(1, count + 1))
    if is_quick and count > bound:
        return generator.sample(numbers, 1), False
    if is_quick:
        return numbers[generator.randrange(min(3, count))::3], False
    if count <= bound:
        return numbers, True
    return numbers[:bound] + sorted(generator.sample(numbers[bound:], min(bound, count - bound))), False


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split(":")[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("scratch", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", default="")
    parser.add_argument("--starts", type=int, default=0, help="how many faults to draw for the first start")
    options = parser.parse_args()
    build, scratch = options.build.resolve(), options.scratch.resolve()
    chosen, _, chosen_fault = options.only.partition(" ")

    served = scratch / "served"
    served.mkdir()
    server = subprocess.Popen([build / "tests/faults-subject", "serve-installation", served], stdin=subprocess.DEVNULL)
    deadline = time.monotonic() + END_LIMIT
    while not (served / "server").exists() and time.monotonic() < deadline:
        time.sleep(0.02)

    operations = [operation for operation in (SaveIdentity(), FirstSave(), StoreSetting(), LaunchChild(build),
                                              LaunchParent(build), Install(served))
                  if chosen in ("", operation.name)]
    first_start = FirstStart(build) if chosen in ("", FirstStart.name) else None
    if not operations and not first_start:
        sys.exit(f"tools/faults: no operation is named {chosen}")
    start = time.monotonic()
    print(f"seed {options.seed}")
    generator = random.Random(options.seed)
    total = met = 0
    wrongs = []
    with concurrent.futures.ProcessPoolExecutor(os.cpu_count(), initializer=start_worker,
                                                initargs=(build, scratch)) as pool:
        running = {}
        explored = {operation: pool.submit(explore, operation) for operation in operations}
        for operation, future in explored.items():
            golden, calls = future.result()
            print(f"{operation.name}: {sum(calls.values())} system calls of {len(calls)} kinds", flush=True)
            if chosen_fault:
                kind, _, number = chosen_fault.partition(":when=")
                running[pool.submit(inject, operation, kind, [int(number)], False, golden)] = operation
                continue
            for call, count in sorted(calls.items()):
                for kind in kinds_of(call, options.quick):
                    numbers, goes_on = numbers_of(count, operation.bound, options.quick, generator)
                    if numbers:
                        running[pool.submit(inject, operation, kind, numbers, goes_on, golden)] = operation
        def note(name, fault, is_hit, wrong, by):
            nonlocal total, met
            total += 1
            met += is_hit
            if wrong:
                wrongs.append(fault)
                print(f"{name} {fault}: {wrong[:500]}\n    again: tools/faults --only '{name} {fault}'\n    by: {by}",
                      flush=True)

        for future in concurrent.futures.as_completed(running):
            operation = running[future]
            for fault, is_hit, wrong in future.result():
                note(operation.name, fault, is_hit, wrong, f"{' '.join(strace_of(fault))} -p PID of a stopped "
                      f"faults-subject {operation.subject}")

        # Last, so that what takes longest does not compete with what is timed in milliseconds.
        if first_start:
            faults = [chosen_fault] if chosen_fault else pool.submit(explore_starts, first_start).result()
            drawn = generator.sample(faults, min(len(faults), options.starts or (4 if options.quick else 120)))
            print(f"{first_start.name}: {len(drawn)} of {len(faults)} faults", flush=True)
            seen = collections.Counter()
            for future in concurrent.futures.as_completed(pool.submit(inject_start, first_start, fault) for fault in drawn):
                fault, outcome, is_hit, wrong = future.result()
                seen[outcome] += 1
                *paths, injection = fault.split(" ")
                note(first_start.name, fault, is_hit, wrong,
                      f"strace -f {' '.join(paths)} -e inject={injection} {first_start.launcher}")
            print(f"{first_start.name}: " + ", ".join(f"{count} {outcome}" for outcome, count in sorted(seen.items())))
    server.kill()
    server.wait()
    print(f"{met} faults met {len(operations) + bool(first_start)} operations in {total} runs and {time.monotonic() - start:.0f} s "
          f"(seed {options.seed}): {len(wrongs)} left something wrong.")
    sys.exit(0 if met and not wrongs else 1)


if __name__ == "__main__":
    main()
