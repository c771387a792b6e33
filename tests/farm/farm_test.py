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
        host, ports = socket.gethostname().split(".")[0], self.free_ports(3)
        node = ("NodeName={} NodeHostname={} NodeAddr=127.0.0.1 Port={} CPUs=1 Boards=1 SocketsPerBoard=1 "
                "CoresPerSocket=1 ThreadsPerCore=1 RealMemory=2000\n")
        conf = pathlib.Path(__file__).with_name("slurm.conf").read_text()
        conf = conf.replace("@FOLDER@", str(folder)).replace("@HOST@", host)
        conf = conf.replace("@USER@", getpass.getuser()).replace("@PORT@", str(ports[0]))
        conf += "".join(node.format(name, host, port) for name, port in zip(("n1", "n2"), ports[1:]))
        conf += f"PartitionName={PARTITION} Nodes=n1,n2 Default=YES MaxTime=INFINITE State=UP\n"
        (folder / "slurm.conf").write_text(conf)
        os.environ["SLURM_CONF"] = str(folder / "slurm.conf")

    @staticmethod
    def free_ports(count):
        sockets = [socket.socket() for _ in range(count)]
        for each in sockets:
            each.bind(("127.0.0.1", 0))
        ports = [each.getsockname()[1] for each in sockets]
        for each in sockets:
            each.close()
        return ports

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
        def idle():
            said = call(["sinfo", "-h", "-N", "-o", "%T"], check=False).stdout.split()
            return len(said) == 2 and all(word in ("idle", "mixed", "allocated") for word in said)
        wait_for("two nodes", idle)

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
        for process in self.processes(name):
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, signal.SIGKILL)

    def down(self):
        for name in reversed(list(self.children)):
            child = self.children[name]
            child.terminate()
            try:
                child.wait(15)
            except subprocess.TimeoutExpired:
                child.kill()
                child.wait()
        for process in self.processes():
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, signal.SIGKILL)


def project(folder, frames=FRAMES, size=(480, 270), shift=0):
    """A layer that moves over a transparent frame; each frame differs."""
    (width, height), last = size, frames
    def corner(x, y, dx, dy):
        at = lambda f, i, j: {"frame": f, "value": [round(width * i) + shift, round(height * j)]}
        return {"keys": [at(1, x, y), at(last, x + dx, y + dy)]}
    text = {"schema": "zelk-project", "version": 1,
            "comp": {"width": width, "height": height, "rate": 24, "startFrame": 1, "duration": frames},
            "layer": LAYER, "output": "out/o.#####.png", "frames": f"1-{frames}",
            "render": {"size": [width, height]},
            "parameters": {"to-upper-left": corner(.1, .1, .2, .1), "to-upper-right": corner(.8, .1, .1, .2),
                           "to-lower-left": corner(.1, .8, .1, .1), "to-lower-right": corner(.7, .9, .2, 0)}}
    (folder / "out").mkdir(parents=True, exist_ok=True)
    (folder / "shot.zelk.json").write_text(json.dumps(text))


class Case:
    """A folder with the project, its job, and how the job's frames compare with the reference."""

    def __init__(self, root, name, **of_project):
        self.folder = root / name
        self.job = self.folder / "out" / "o.zelk-job"
        project(self.folder, **of_project)

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

    def leftovers(self):
        return [file.name for file in (self.folder / "out").glob(".*zelk-*") if file.name != ".zelk-journal"]

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
        self.rows, self.failed = [], False

    def add(self, name, happened, frames, seconds):
        self.rows.append((name, happened, frames, f"{seconds:.1f}"))
        self.failed = self.failed or frames.startswith("DIFFER")
        print(f"| {name} | {happened} | {frames} | {seconds:.1f} |", flush=True)

    def compared(self, case, reference):
        own = case.sums()
        differing = [name for name in reference if own.get(name) != reference[name]]
        extra = [name for name in own if name not in reference] + case.leftovers()
        if not differing and not extra:
            return f"{len(own)} the same"
        return f"DIFFER: {len(differing)} of {len(reference)}, {len(extra)} too many"

    def case(self, name, case, reference, work):
        start = time.monotonic()
        try:
            happened = work(case)
            frames = self.compared(case, reference)
        except Exception as error:  # the other cases are worth their time
            happened, frames = f"FAILED: {error}", "DIFFER"
        self.add(name, happened, frames, time.monotonic() - start)


def chunked(frames, *more):
    def work(case):
        said = case.submit("--chunk", frames, *more).stdout
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


def task_killed(case):
    case.submit("--chunk", 50)
    mid_work(case)
    os.kill(case.task_processes()[0], signal.SIGKILL)
    case.await_end()
    return f"SIGKILL; {case.restarts()} by the engine"


def killed_for_good(case):
    case.submit("--chunk", 50, "--retries", 0)
    mid_work(case)
    os.kill(case.task_processes()[0], signal.SIGKILL)
    state = case.await_end()
    lost = state["missing"]["count"] + len(state["failed"])
    said = case.zelk("submit", "resume", case.job).stdout.splitlines()[0]
    case.await_end()
    return f"SIGKILL, no retries: {lost} frames lost; resume: {said}"


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
    said = re.search(r"is still at work|.*", refused.stderr)[0]
    return (f"second submit: exit code {refused.returncode}, \"{said}\"; "
            f"cancelled at {state['done']['count']} frames, resumed")


def new_version(case):
    case.submit("--chunk", 50)
    case.await_end()
    project(case.folder, shift=5)
    case.submit("--chunk", 50)
    case.await_end()
    return "all done, project edited, submitted again"


def by_script(tool):
    def work(case):
        case.submit("--chunk", 20, engine="shell")
        path = os.environ["PATH"]
        if tool == "xargs":  # a PATH without parallel
            bare = case.folder / "bin"
            bare.mkdir()
            for name in ("sh", "xargs", "seq", "nproc", "grep", "sleep"):
                (bare / name).symlink_to(shutil.which(name))
            path = str(bare)
        subprocess.run([case.job / "run.sh", "2"], env={**os.environ, "PATH": path}, check=True,
                       capture_output=True)
        return f"10 tasks by {tool}, two at a time"
    return work


def frames_of_movie(file):
    return call(["ffmpeg", "-v", "error", "-i", file, "-f", "framemd5", "-"]).stdout


def ten_thousand(root):
    """How long the commands take, not the frames: the partition is down while tasks wait."""
    count = 10000
    case = Case(root, "tiny", frames=count, size=(16, 16))

    def row(name, start):
        print(f"| {name} | {time.monotonic() - start:.2f} |", flush=True)

    def timed(name, *words):
        start = time.monotonic()
        said = case.zelk(*words, check=False)
        row(name, start)
        return said.stdout

    submit = ("submit", "shot.zelk.json", "--engine", "slurm", "--memory", 100)
    job = case.job
    call(["scontrol", "update", f"partition={PARTITION}", "state=down"])
    timed("submit, 1000 tasks of 10", *submit, "--chunk", 10)
    timed("status, all wait", "submit", "status", job)
    timed("cancel", "submit", "cancel", job)
    timed("resume, 10,000 tasks of 1 (10 arrays)", "submit", "resume", job, "--chunk", 1)
    timed("status, all wait", "submit", "status", job)
    timed("cancel", "submit", "cancel", job)
    call(["scontrol", "update", f"partition={PARTITION}", "state=up"])
    timed("resume, 8 tasks of 1250", "submit", "resume", job, "--chunk", 1250)
    start = time.monotonic()
    case.await_end(1200)
    row("(the frames themselves, two cores)", start)
    timed("status, all done", "submit", "status", job)
    timed("status --verify, all done", "submit", "status", job, "--verify")
    for frame in (1, 5000, 10000):
        (case.folder / "out" / f"o.{frame:05}.png").unlink()
    said = timed("resume, 3 files removed", "submit", "resume", job)
    case.await_end()
    return said.splitlines()[0], len(case.sums())


def main():
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit(130))
    table = Table()
    os.environ["ZELK_THREADS"] = "1"
    root = pathlib.Path(tempfile.mkdtemp(prefix="zelk-farm-"))
    cluster = None
    try:
        (root / "cluster").mkdir()
        cluster = Cluster(root / "cluster")
        cluster.up()
        reference, shifted = Case(root, "reference"), Case(root, "shifted", shift=5)
        start = time.monotonic()
        for each in (reference, shifted):
            each.zelk("render", "--project", "shot.zelk.json")
        sums = reference.sums()
        print("| case | what happened | frames | seconds |\n|---|---|---|---|")
        table.add("`zelk render`", "the reference, one run", f"{len(sums)}", (time.monotonic() - start) / 2)
        for chunk in (FRAMES, 10):
            table.case(f"`--chunk {chunk}`", Case(root, f"chunk{chunk}"), sums, chunked(chunk))
        gathered = Case(root, "movie")
        table.case("`--chunk 50 --movie m.mov`", gathered, sums,
                   chunked(50, "--movie", "out/m.mov", "--codec", "png"))
        reference.zelk("render", "out/o.#####.png", "-o", "m.mov", "--codec", "png", "--view", "original")
        same = frames_of_movie(gathered.folder / "out/m.mov") == frames_of_movie(reference.folder / "m.mov")
        table.add("its movie", "decoded, beside `zelk render out/o.#####.png -o m.mov`",
                  "200 the same" if same else "DIFFER", 0)
        table.case("node killed", Case(root, "node"), sums, node_killed(cluster))
        table.case("task killed", Case(root, "killed"), sums, task_killed)
        table.case("task killed, no retries", Case(root, "lost"), sums, killed_for_good)
        if os.geteuid() == 0:
            table.case("disk full", Case(root, "full"), sums, disk_full)
        else:
            print("disk full: left out, mounting needs root")
        table.case("submitted twice", Case(root, "twice"), sums, submitted_again)
        table.case("submitted anew", Case(root, "anew"), shifted.sums(), new_version)
        for tool in ("parallel", "xargs"):
            table.case(f"`--engine shell`, {tool}", Case(root, tool), sums, by_script(tool))
        print("\n| 10,000 frames of 16x16 | seconds |\n|---|---|")
        said, files = ten_thousand(root)
        table.failed = table.failed or files != 10000
        print(f"\nafter 3 files were removed: {said}; {files} files at the end")
    finally:
        if cluster:
            cluster.down()
        shutil.rmtree(root, ignore_errors=True)
    return 1 if table.failed else 0


if __name__ == "__main__":
    sys.exit(main())
