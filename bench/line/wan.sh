#!/bin/bash
# wan.sh - run a pair of commands over an emulated WAN link between two network namespaces.
#
#   wan.sh [wan options] [linkemu options] -- 'SERVER COMMAND' 'CLIENT COMMAND' ['EXTRA CLIENT COMMAND']
#
# The server command runs in namespace B (10.77.0.2), the client command in namespace A (10.77.0.1).
# Each is given to bash -c. Both see WAN_SERVER_IP, WAN_CLIENT_IP and WAN_DIR (a scratch folder).
# The script ends when the client command ends (or at --time) and exits with the client's status.
# An EXTRA client command is started in A together with the client and stopped with the server.
#
# wan options:  --mtu N (1500)   --tcp-buf BYTES (67108864: upper limit of TCP's automatic buffers)
#               --tcp-cc NAME (cubic: default congestion control inside the namespaces)
#               --lead S (0.4: seconds between server and client start)   --stats FILE  --time S (120)
# linkemu options: see linkemu --help (--delay --rate --loss --queue --ge --jitter --reorder --dup --down,
#               with prefix a- or b- for one direction, e.g. --a-loss 0.01)
set -u
here=$(cd "$(dirname "$0")" && pwd)
emu=${LINKEMU:-$here/../../build/bench/bin/linkemu}
mtu=1500 tcpbuf=67108864 lead=0.4 time=120 tcpcc=cubic stats= opts=()
while [ $# -gt 0 ]; do
  case $1 in
    --mtu) mtu=$2; shift 2;;
    --tcp-buf) tcpbuf=$2; shift 2;;
    --tcp-cc) tcpcc=$2; shift 2;;
    --lead) lead=$2; shift 2;;
    --time) time=$2; shift 2;;
    --stats) stats=$2; shift 2;;
    --) shift; break;;
    *) opts+=("$1"); shift;;
  esac
done
[ $# -ge 2 ] || { sed -n 2,18p "$0" >&2; exit 2; }
server=$1 client=$2 extra=${3:-}
id=$$
A=wanA$id B=wanB$id da=lea$id db=leb$id
dir=$(mktemp -d /tmp/wan.XXXXXX)
emupid= srvpid= clipid= extpid= dogpid=
killgroup() { [ -n "$1" ] && kill -- -"$1" 2>/dev/null; }
cleanup() {
  killgroup "$clipid"; killgroup "$extpid"; killgroup "$srvpid"; killgroup "$dogpid"
  if [ -n "$emupid" ]; then kill "$emupid" 2>/dev/null; wait "$emupid" 2>/dev/null; fi
  ip netns del "$A" 2>/dev/null; ip netns del "$B" 2>/dev/null
  rm -rf "$dir"
}
trap cleanup EXIT
trap 'exit 130' INT TERM
set -m   # every background job gets its own process group
[ -n "$stats" ] || stats=/dev/null
"$emu" --dev-a "$da" --dev-b "$db" --time "$((${time%.*} + 10))" --stats "$stats" "${opts[@]+"${opts[@]}"}" & emupid=$!
for _ in $(seq 100); do [ -e /sys/class/net/$db ] && break; sleep 0.02; done
[ -e /sys/class/net/$db ] || { echo "wan.sh: the emulator did not start" >&2; exit 2; }
setup() { # namespace device address
  ip netns add "$1" && ip link set "$2" netns "$1" || exit 2
  ip netns exec "$1" sysctl -qw net.ipv4.tcp_rmem="4096 131072 $tcpbuf" net.ipv4.tcp_wmem="4096 16384 $tcpbuf" \
     net.ipv4.tcp_no_metrics_save=1 net.ipv6.conf.all.disable_ipv6=1 2>/dev/null
  ip -n "$1" link set lo up
  ip -n "$1" link set "$2" mtu "$mtu" txqueuelen 20000
  ip -n "$1" addr add "$3/30" dev "$2"
  ip -n "$1" link set "$2" up
  # By the route: the setting of the whole namespace is refused where the host's default is another one.
  ip -n "$1" route replace 10.77.0.0/30 dev "$2" congctl "$tcpcc" || exit 2
}
setup "$A" "$da" 10.77.0.1
setup "$B" "$db" 10.77.0.2
export WAN_SERVER_IP=10.77.0.2 WAN_CLIENT_IP=10.77.0.1 WAN_DIR=$dir
ip netns exec "$B" bash -c "$server" & srvpid=$!
sleep "$lead"
if [ -n "$extra" ]; then ip netns exec "$A" bash -c "$extra" & extpid=$!; fi
ip netns exec "$A" bash -c "$client" & clipid=$!
( sleep "$time"; kill -- -"$clipid" 2>/dev/null ) & dogpid=$!
wait "$clipid"; rc=$?
clipid=
exit $rc
