#!/usr/bin/env python3
"""faults.py BUILD SCRATCH [--quick] [--seed S] [--only "OPERATION [FAULT]"]: makes one system call of an operation of the
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
import concurrent.futures
import ctypes
import errno
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import time

TIME_LIMIT = 60  # seconds for one operation; the slowest takes one
END_LIMIT = 30  # seconds in which children have to end after the operation; the terminate request reaches them at once

FILE_ERRORS = ["EIO", "ENOSPC", "EMFILE", "EINTR", "ENOMEM", "EAGAIN"]
ERRORS = {  # of the system calls that are no file calls
    **dict.fromkeys(["brk", "mmap", "mprotect", "mremap", "madvise"], ["ENOMEM"]),
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

    def lay_out(self, folder):
        raise NotImplementedError

    def check_report(self, report, old, found, new, trace):
        """`report` is None when the operation did not get to its end."""

    def succeeded(self, report):
        return True

    def old_or_new(self, found, old, new):
        return found in (old, new)


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
        watched = world / operation.watched
        old = files_below(watched)
        is_hit = True
        try:
            report, trace = self.perform(operation, world, strace_of(fault))
            is_hit = trace.is_hit
            found = files_below(watched)
            is_killed = report is None
            if is_killed:
                found = {path: file for path, file in found.items() if "/.ferrolt-save-" not in "/" + path}
            require(operation.old_or_new(found, old, golden), "neither the old files nor the new ones: " + difference(found, old, golden))
            operation.check_report(report, old, found, golden, trace)
            again, _ = self.perform(operation, world)
            require(again is not None and operation.succeeded(again), f"the next one reports {again!r}")
            found = files_below(watched)
            require(found == golden, "after the next one: " + difference(found, old, golden))
            return is_hit, None
        except Wrong as wrong:
            return is_hit, str(wrong)


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


def strace_of(fault):
    """`fault` as strace's -e inject= takes it."""
    return ["strace", "-f", "-e", f"trace={fault.split(':')[0]},execve", "-e", f"inject={fault}"]


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
    return files_below(world / operation.watched), trace.calls


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
    options = parser.parse_args()
    build, scratch = options.build.resolve(), options.scratch.resolve()
    chosen, _, chosen_fault = options.only.partition(" ")

    operations = [operation for operation in (SaveIdentity(), FirstSave(), StoreSetting(), LaunchChild(build),
                                                   LaunchParent(build))
                  if chosen in ("", operation.name)]
    if not operations:
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
                    numbers, goes_on = numbers_of(count, 40, options.quick, generator)
                    if numbers:
                        running[pool.submit(inject, operation, kind, numbers, goes_on, golden)] = operation
        for future in concurrent.futures.as_completed(running):
            operation = running[future]
            for fault, is_hit, wrong in future.result():
                total += 1
                met += is_hit
                if wrong:
                    wrongs.append((operation, fault))
                    print(f"{operation.name} {fault}: {wrong[:500]}\n"
                          f"    again: tools/faults --only '{operation.name} {fault}'\n"
                          f"    by: {' '.join(strace_of(fault))} -p PID of a stopped faults-subject {operation.subject}",
                          flush=True)
    print(f"{met} faults met {len(operations)} operations in {total} runs and {time.monotonic() - start:.0f} s "
          f"(seed {options.seed}): {len(wrongs)} left something wrong.")
    sys.exit(0 if met and not wrongs else 1)


if __name__ == "__main__":
    main()
