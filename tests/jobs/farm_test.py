#!/usr/bin/python3
"""Jobs on a real Slurm: one machine, slurmctld, two slurmd of one core each and munge, in a folder of
their own, started here and stopped here however it ends.

usage: farm_test.py ZELK PICTURE

Each case renders the same project and is compared, byte by byte, with one run of `zelk render`. The
table at the end says what happened; a case that fails makes the exit code 1.
"""

import contextlib
import getpass
import hashlib
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

if len(sys.argv) != 3:
    sys.exit("usage: farm_test.py ZELK PICTURE")
ZELK = os.path.abspath(sys.argv[1])
LAYER = os.path.abspath(sys.argv[2])
FRAMES = 200
PARTITION = "all"


def call(words, cwd=None, check=True):
    done = subprocess.run(words, cwd=cwd, capture_output=True, text=True)
    if check and done.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, words))}: {done.returncode}: {done.stderr}{done.stdout}")
    return done


def wait_for(what, seen, seconds=120):
    end = time.monotonic() + seconds
    while not seen():
        if time.monotonic() > end:
            raise RuntimeError(f"waited {seconds} s for {what}")
        time.sleep(0.05)


def fill_in(name, folder, **marks):
    """Copies a file beside this one with each @MARK@ replaced."""
    text = pathlib.Path(__file__).with_name(name).read_text()
    for mark, value in marks.items():
        text = text.replace(f"@{mark}@", str(value))
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_text(text)


class Cluster:
    """munged, slurmctld, slurmd n1 and n2 as children in the foreground."""

    def __init__(self, folder):
        self.folder = folder
        self.children = {}
        for name in ("state", "n1", "n2", "log"):
            (folder / name).mkdir()
        key = folder / "munge.key"
        key.write_bytes(os.urandom(1024))
        key.chmod(0o400)
        host = socket.gethostname().split(".")[0]
        with contextlib.ExitStack() as stack:  # ports that are free now
            sockets = [stack.enter_context(socket.socket()) for _ in range(3)]
            for each in sockets:
                each.bind(("127.0.0.1", 0))
            ports = [each.getsockname()[1] for each in sockets]
        fill_in("slurm.conf", folder, FOLDER=folder, HOST=host, USER=getpass.getuser(),
                PORT0=ports[0], PORT1=ports[1], PORT2=ports[2])
        os.environ["SLURM_CONF"] = str(folder / "slurm.conf")

    def start(self, name):
        own = {"munge": ["munged", "-F", "--force", f"--key-file={self.folder}/munge.key",
                         f"--socket={self.folder}/munge.sock", f"--pid-file={self.folder}/munge.pid",
                         f"--seed-file={self.folder}/munge.seed", f"--log-file={self.folder}/log/munge.log"],
               "ctld": ["slurmctld", "-D"]}
        words = own.get(name, ["slurmd", "-D", "-N", name])
        path = os.environ["PATH"] + ":/usr/sbin:/sbin"
        log = open(self.folder / "log" / f"{name}.out", "a")
        # A session of their own: the user's Ctrl-C is for this script, which stops them.
        self.children[name] = subprocess.Popen([shutil.which(words[0], path=path)] + words[1:], stdout=log,
                                               stderr=log, start_new_session=True)

    def up(self):
        self.start("munge")
        wait_for("munge", (self.folder / "munge.sock").exists)
        for name in ("ctld", "n1", "n2"):
            self.start(name)
        self.await_nodes()

    def await_nodes(self):
        wait_for("two nodes", lambda: call(["sinfo", "-h", "-N", "-o", "%T"], check=False).stdout.split() == ["idle"] * 2)

    def processes(self, node=None):
        """Of this cluster's tasks, by what Slurm put into their environment; and who started them."""
        found = set()
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError, IndexError):
                environ = (entry / "environ").read_bytes().split(b"\0")
                if f"SLURM_CONF={os.environ['SLURM_CONF']}".encode() not in environ:
                    continue
                own = [word[16:].decode() for word in environ if word.startswith(b"SLURMD_NODENAME=")]
                if own and node in (None, own[0]):
                    found.add(int(entry.name))
                    parent = int((entry / "stat").read_text().rpartition(")")[2].split()[1])
                    if "slurmstepd" in (pathlib.Path("/proc") / str(parent) / "cmdline").read_text():
                        found.add(parent)
        return found

    def kill_node(self, name):
        """As a machine that loses its power: the daemon and all that it runs at once."""
        self.children[name].kill()
        self.children[name].wait()
        self.kill_tasks(name)

    def kill_tasks(self, node=None):
        for process in self.processes(node):
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, signal.SIGKILL)

    def down(self):
        for child in reversed(self.children.values()):
            child.terminate()
            with contextlib.suppress(subprocess.TimeoutExpired):
                child.wait(15)
            child.kill()
            child.wait()
        self.kill_tasks()


@contextlib.contextmanager
def running_cluster():
    """A folder and the cluster in it; both go at the end, also by a signal."""
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit(130))
    os.environ["ZELK_THREADS"] = "1"
    root, cluster = pathlib.Path(tempfile.mkdtemp(prefix="zelk-farm-")), None
    try:
        (root / "cluster").mkdir()
        cluster = Cluster(root / "cluster")
        cluster.up()
        yield root, cluster
    finally:
        if cluster:
            cluster.down()
        shutil.rmtree(root, ignore_errors=True)


class Case:
    """A folder with the project, its job, and how the job's frames compare with the reference."""

    def __init__(self, root, name, frames=FRAMES, size=(480, 270)):
        self.folder = root / name
        self.job = self.folder / "out" / "o.zelk-job"
        fill_in("shot.zelk.json", self.folder, FRAMES=frames, WIDTH=size[0], HEIGHT=size[1], LAYER=LAYER)
        (self.folder / "out").mkdir()

    def zelk(self, *words, check=True):
        return call([ZELK, *map(str, words)], cwd=self.folder, check=check)

    def submit(self, *words, engine="slurm", check=True):
        return self.zelk("submit", "shot.zelk.json", "--engine", engine, *words, check=check)

    def status(self):
        return json.loads(self.zelk("submit", "status", self.job, "--json", check=False).stdout)

    def done(self):
        return self.status()["done"]["count"]

    def await_end(self, seconds=300):
        def ended():
            state = self.status()
            return not state["runningTasks"] and not state["waitingTasks"] and \
                state["movie"] not in ("waiting", "running")
        wait_for("the job's end", ended, seconds)
        return self.status()

    def task_processes(self):
        """Process ids of running `zelk submit task`, by the files that tell them."""
        ids = []
        for file in (self.job / "running").glob("*"):
            with contextlib.suppress(OSError, IndexError):
                ids.append(int(file.read_text().split()[0].split("-")[1]))
        return ids

    def sums(self):
        return {file.name: hashlib.sha256(file.read_bytes()).hexdigest()
                for file in sorted((self.folder / "out").glob("*.png"))}

    def restarts(self):
        """How often this job's tasks were started again, as the controller has it."""
        record = json.loads((self.job / "job.json").read_text())
        ids = {array["id"] for each in record["submissions"] for array in each.get("arrays", [])}
        count = 0
        for entry in call(["scontrol", "show", "job"], check=False).stdout.split("\n\n"):
            own = re.search(r"(?:ArrayJobId|JobId)=(\d+) ArrayTaskId", entry)
            if own and own[1] in ids:
                count += int(re.search(r"Restarts=(\d+)", entry)[1])
        return f"{count} restart" + "s" * (count != 1)


class Table:
    def __init__(self):
        self.failed = False

    def add(self, name, happened, frames, seconds):
        self.failed = self.failed or "DIFFER" in frames or "FAILED" in happened
        print(f"| {name} | {happened} | {frames} | {seconds:.1f} |", flush=True)

    def compared(self, case, reference):
        own = case.sums()
        left = [file.name for file in (case.folder / "out").glob(".*zelk-*") if file.name != ".zelk-journal"]
        differing = {name for name in reference.keys() | own.keys() if own.get(name) != reference.get(name)}
        return f"DIFFER: {sorted(differing)[:3]} {left}" if differing or left else f"{len(own)} the same"

    def case(self, name, case, reference, work):
        start = time.monotonic()
        try:
            happened = work(case)
            frames = self.compared(case, reference)
        except Exception as error:  # the other cases are worth their time
            happened, frames = f"FAILED: {error}", "DIFFER"
        self.add(name, happened, frames, time.monotonic() - start)


def chunked(frames):
    def work(case):
        said = case.submit("--chunk", frames).stdout
        (case.folder / "shot.zelk.json").write_text("changed after the submission")
        case.await_end()
        return re.search(r"(\d+ tasks?) ", said)[1] + "; project overwritten at once"
    return work


def mid_work(case):
    """Some frames of tasks that run are there, others are not."""
    wait_for("work under way", lambda: case.task_processes() and 20 < case.done())


def node_killed(cluster):
    def work(case):
        case.submit("--chunk", 50)
        mid_work(case)
        before = case.done()
        cluster.kill_node("n2")
        state = case.await_end()
        cluster.start("n2")
        cluster.await_nodes()
        return f"n2 lost its power at {before} frames; {case.restarts()}, {state['done']['count']} done by n1"
    return work


def task_killed(retries):
    def work(case):
        case.submit("--chunk", 50, "--retries", retries)
        mid_work(case)
        os.kill(case.task_processes()[0], signal.SIGKILL)
        lost = case.await_end()["missing"]["count"]
        said = case.zelk("submit", "resume", case.job).stdout.splitlines()[0].split(": ")[-1]
        case.await_end()
        return f"SIGKILL; {case.restarts()} by the engine, {lost} frames lost; resume: {said}"
    return work


def disk_full(case):
    out = case.folder / "out"
    call(["mount", "-t", "tmpfs", "-o", "size=200m", "zelk-farm-test", out])
    try:
        case.submit("--chunk", 50)
        mid_work(case)
        with contextlib.suppress(OSError), open(out / "ballast", "wb", buffering=0) as ballast:
            while True:
                ballast.write(bytes(1 << 16))
        wait_for("a full disk", lambda: any("disk" in text or "space" in text for text in
                 (file.read_text() for file in (case.job / "logs").glob("slurm*"))))
        (out / "ballast").unlink()
        case.await_end()
        happened = f"full while tasks ran, free again later; {case.restarts()}"
        kept = case.folder / "kept"
        shutil.copytree(out, kept)
    finally:
        call(["umount", out])
    shutil.copytree(kept, out, dirs_exist_ok=True)
    return happened


def submitted_again(case):
    case.submit("--chunk", 20)
    mid_work(case)
    refused = case.submit("--chunk", 20, check=False)
    case.zelk("submit", "cancel", case.job)
    state = case.await_end()
    case.zelk("submit", "resume", case.job)
    case.await_end()
    is_told = refused.returncode == 4 and "is still at work" in refused.stderr
    return (f"a second submit while it ran was {'refused' if is_told else 'FAILED: taken'}; "
            f"cancelled at {state['done']['count']} frames, resumed")


def main():
    table = Table()
    with running_cluster() as (root, cluster):
        reference = Case(root, "reference")
        start = time.monotonic()
        reference.zelk("render", "--project", "shot.zelk.json")
        sums = reference.sums()
        print("| case | what happened | frames | seconds |\n|---|---|---|---|")
        table.add("`zelk render`", "the reference, one run", f"{len(sums)}", time.monotonic() - start)
        for chunk in (FRAMES, 50, 10):
            table.case(f"`--chunk {chunk}`", Case(root, f"chunk{chunk}"), sums, chunked(chunk))
        table.case("node killed", Case(root, "node"), sums, node_killed(cluster))
        table.case("task killed", Case(root, "killed"), sums, task_killed(2))
        table.case("task killed, `--retries 0`", Case(root, "lost"), sums, task_killed(0))
        if os.geteuid() == 0:
            table.case("disk full", Case(root, "full"), sums, disk_full)
        else:
            print("disk full: left out, mounting needs root")
        table.case("submitted twice", Case(root, "twice"), sums, submitted_again)
    return 1 if table.failed else 0


if __name__ == "__main__":
    sys.exit(main())
