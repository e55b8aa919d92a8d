#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# A Slurm cluster of this machine alone, on the loopback interface, for tests.
# usage: slurm_cluster.sh start DIR | stop DIR
# Works as root and, where munge and Slurm allow it, as another user. Once started, commands find it through
# SLURM_CONF=DIR/slurm.conf. Exit status 3: munge or Slurm is not installed; 1: it did not start, see DIR/*.log.
set -euo pipefail
export PATH=$PATH:/usr/sbin

action=${1:?start or stop} directory=$(realpath -m "${2:?a folder}")

stop() {
    local name process attempt
    for name in slurmd slurmctld munged; do
        [[ -f $directory/$name.pid ]] || continue
        process=$(<"$directory/$name.pid")
        kill "$process" 2>/dev/null || continue
        for attempt in {1..100}; do
            kill -0 "$process" 2>/dev/null || break
            sleep 0.1
        done
    done
}

free_port() {
    python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

start() {
    local program
    for program in munged slurmctld slurmd sbatch; do
        command -v "$program" >/dev/null || { echo "$program is not installed" >&2; exit 3; }
    done
    mkdir -p "$directory"/{state,spool}
    chmod 755 "$directory"
    (umask 077; head -c 1024 /dev/urandom >"$directory/munge.key")
    munged --force --key-file="$directory/munge.key" --socket="$directory/munge.socket" --pid-file="$directory/munged.pid" \
        --log-file="$directory/munged.log" --seed-file="$directory/munge.seed"
    local host memory
    host=$(hostname -s)
    # A task that goes back into the queue waits until its credential has expired, two minutes where nothing is said.
    cat >"$directory/slurm.conf" <<CONF
ClusterName=orcatest
SlurmctldHost=$host(127.0.0.1)
SlurmUser=$(id -un)
SlurmdUser=$(id -un)
AuthType=auth/munge
AuthInfo=socket=$directory/munge.socket,cred_expire=5
CredType=cred/munge
MpiDefault=none
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=requeue_delay=1,batch_sched_delay=1,sched_interval=2,bf_interval=2
AccountingStorageType=accounting_storage/none
JobAcctGatherType=jobacct_gather/none
StateSaveLocation=$directory/state
SlurmdSpoolDir=$directory/spool
SlurmctldPidFile=$directory/slurmctld.pid
SlurmdPidFile=$directory/slurmd.pid
SlurmctldLogFile=$directory/slurmctld.log
SlurmdLogFile=$directory/slurmd.log
SlurmctldPort=$(free_port)
SlurmdPort=$(free_port)
ReturnToService=2
KillWait=10
NodeName=$host NodeAddr=127.0.0.1 CPUs=$(nproc) State=UNKNOWN
PartitionName=test Nodes=ALL Default=YES MaxTime=INFINITE State=UP
CONF
    # Nothing here is confined, but slurmd wants its plugin to start.
    printf '%s\n' CgroupPlugin=autodetect IgnoreSystemd=yes >"$directory/cgroup.conf"
    export SLURM_CONF=$directory/slurm.conf
    slurmctld -c -f "$SLURM_CONF"
    slurmd -c -f "$SLURM_CONF" >"$directory/slurmd.start.log" 2>&1 || true
    local attempt
    for attempt in {1..60}; do
        [[ $(sinfo -h -o %T 2>/dev/null) == idle ]] && return 0
        sleep 0.5
    done
    echo "Slurm did not start:" >&2
    tail -n 5 "$directory"/*.log >&2
    stop
    exit 1
}

"$action"
