# shellcheck shell=bash
# A cluster of one machine, for scripts to source: munged, slurmctld and four slurmd on the
# loopback, all as the present user, all ended by their process ids.

nodes=4
cluster=$HOME/cluster
export SLURM_CONF=$cluster/slurm.conf
munged='' slurmctld=''
slurmd=()

# write_configuration CPUS: so many CPUs on each node, whatever the machine has. A task
# begins on the node that has the fewest.
write_configuration() {
    cat >"$SLURM_CONF" <<EOF
ClusterName=norv
SlurmctldHost=$(hostname)(127.0.0.1)
SlurmUser=$USER
SlurmdUser=$USER
AuthType=auth/munge
# A task that is started again waits until its old credential has run out.
AuthInfo=socket=$cluster/munge.socket,cred_expire=5
CredType=cred/munge
StateSaveLocation=$cluster/state
SlurmdSpoolDir=$cluster/%n
SlurmctldPidFile=$cluster/slurmctld.pid
SlurmdPidFile=$cluster/%n.pid
SlurmctldLogFile=$cluster/slurmctld.log
SlurmdLogFile=$cluster/%n.log
SlurmctldPort=17000
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SlurmdParameters=config_overrides
ReturnToService=2
# As short as they may be: a test waits for them.
SchedulerParameters=sched_interval=2,bf_interval=2
SlurmdTimeout=10
KillWait=10
MinJobAge=600
OverTimeLimit=0
NodeName=node[0-$((nodes - 1))] NodeHostname=$(hostname) NodeAddr=127.0.0.1 Port=[17001-$((17000 + nodes))] CPUs=$1
PartitionName=all Nodes=ALL Default=YES LLN=YES MaxTime=INFINITE State=UP
EOF
    # Nothing here uses cgroups, but slurmd wants to know of which kind they are.
    echo 'CgroupPlugin=cgroup/v1' >"$cluster/cgroup.conf"
}

# until_true SECONDS COMMAND…: whether the command succeeds within the time.
until_true() {
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.2
    done
}

start_node() { # INDEX
    slurmd -D -N "node$1" >>"$cluster/node$1.out" 2>&1 &
    slurmd[$1]=$!
}

idle_nodes() {
    sinfo --noheader --Node --format '%T' 2>/dev/null | grep -cx idle || true
}
all_idle() { [ "$(idle_nodes)" = "$nodes" ]; }

start_cluster() { # CPUS
    local i
    mkdir -p "$cluster/state"
    chmod 755 "$HOME" "$cluster"
    write_configuration "$1"
    (umask 077 && head -c 128 /dev/urandom >"$cluster/munge.key")
    munged --foreground --socket "$cluster/munge.socket" --key-file "$cluster/munge.key" \
        --pid-file "$cluster/munged.pid" --log-file "$cluster/munged.log" \
        --seed-file "$cluster/munged.seed" >"$cluster/munged.out" 2>&1 &
    munged=$!
    until_true 10 test -S "$cluster/munge.socket"
    slurmctld -D >"$cluster/slurmctld.out" 2>&1 &
    slurmctld=$!
    for ((i = 0; i < nodes; ++i)); do
        mkdir -p "$cluster/node$i"
        start_node "$i"
    done
    until_true 30 all_idle || {
        tail -n 20 "$cluster"/*.out "$cluster"/*.log >&2
        return 1
    }
}

# Ends the daemons in the order in which they need each other: munged last.
stop_cluster() {
    local pid
    for pid in "${slurmd[@]}" "$slurmctld" "$munged"; do
        [ -n "$pid" ] || continue
        kill -TERM "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    slurmd=() slurmctld='' munged=''
}

# The processes that run this program or script with all these settings, the first one first.
processes_of() { # NAME SETTING…
    local name=$1 folder settings
    shift
    for folder in /proc/[0-9]*; do
        tr '\0' '\n' <"$folder/cmdline" | grep -q "\(^\|/\)$name\$" || continue
        settings=$(tr '\0' '\n' <"$folder/environ") || continue
        [ "$(printf '%s\n' "$@" | grep -cxFf - <(echo "$settings"))" = $# ] || continue
        echo "${folder##*/}"
    done 2>/dev/null | sort -n
}

# What a loss of power leaves of a node: nothing. The semaphores are the node's own memory.
kill_node() { # INDEX
    local pid script name names=()
    for pid in $(processes_of norv "SLURMD_NODENAME=node$1"); do
        names+=("$(tr '\0' '\n' <"/proc/$pid/cmdline" | grep '^norvctl-')")
    done
    kill -KILL "${slurmd[$1]}"
    wait "${slurmd[$1]}" 2>/dev/null || true
    for script in $(processes_of slurm_script "SLURMD_NODENAME=node$1"); do
        # Its parent is its slurmstepd, which has nothing of the node in its environment.
        kill -KILL "$(ps -o ppid= -p "$script" | tr -d ' ')" 2>/dev/null || true
    done
    for pid in $(grep -lzx "SLURMD_NODENAME=node$1" /proc/[0-9]*/environ 2>/dev/null |
        tr -dc '0-9\n'); do
        kill -KILL "$pid" 2>/dev/null || true
    done
    for name in "${names[@]}"; do
        rm -f "/dev/shm/sem.$name" "/dev/shm/norv-$UID"/*"$name"*
    done
}
