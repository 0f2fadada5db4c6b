"""A Slurm of one node, as plain processes on the loopback interface."""
import getpass
import os
import pathlib
import shutil
import socket
import subprocess
import time

CONFIGURATION = """
ClusterName=test
SlurmctldHost=localhost(127.0.0.1)
SlurmctldPort={controller_port}
SlurmdPort={node_port}
SlurmUser={user}
SlurmdUser={user}
AuthType=auth/none
CredType=cred/none
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
AccountingStorageType=accounting_storage/none
JobAcctGatherType=jobacct_gather/none
SelectType=select/linear
MpiDefault=none
ReturnToService=2
SchedulerParameters=sched_interval=1,sched_min_interval=100000
NodeName=localhost NodeHostname=localhost NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=all Nodes=localhost Default=YES MaxTime=INFINITE State=UP OverSubscribe=FORCE:4
"""
DAEMONS = {"slurmctld": ["-D"], "slurmd": ["-D", "-N", "localhost"]}


def is_installed():
    return all(map(find, [*DAEMONS, "sbatch", "sinfo"]))


def find(program):
    return shutil.which(program, path=os.environ["PATH"] + ":/usr/sbin")


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for one in sockets:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


class Slurm:
    """Runs in `folder` from `start` to `stop`; `environment` is what its commands need."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.environment = {**os.environ, "SLURM_CONF": str(self.folder / "slurm.conf")}
        self.processes = []

    def start(self):
        """Throws RuntimeError with the daemons' words when the node does not come up."""
        controller_port, node_port = free_ports(2)
        for name in ("state", "spool"):
            (self.folder / name).mkdir()
        (self.folder / "slurm.conf").write_text(CONFIGURATION.format(
            folder=self.folder, user=getpass.getuser(), controller_port=controller_port, node_port=node_port))
        for daemon, arguments in DAEMONS.items():
            with open(self.folder / f"{daemon}.log", "w") as log:
                self.processes.append(subprocess.Popen([find(daemon), *arguments], env=self.environment,
                                                       stdout=log, stderr=subprocess.STDOUT))
        deadline = time.monotonic() + 20
        while self.node_state() != "idle":
            if time.monotonic() > deadline or any(process.poll() is not None for process in self.processes):
                logs = "".join((self.folder / f"{daemon}.log").read_text() for daemon in DAEMONS)
                self.stop()
                raise RuntimeError(f"the node does not come up: {logs}")
            time.sleep(0.2)

    def node_state(self):
        return subprocess.run(["sinfo", "--noheader", "--format=%t"], env=self.environment, capture_output=True,
                              text=True).stdout.strip()

    def stop(self):
        for process in self.processes:
            process.terminate()
        for process in self.processes:
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
