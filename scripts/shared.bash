# shellcheck shell=bash
# What the bash scripts of this project share: where the tree is, help, clean ends, progress.
#
# Room: scripts. Sourced, as the first thing a script does. The comment that the script begins with is
# its help. Sets `self`, `name` and `root`; leaves the folder as it is.

set -uo pipefail
unset CDPATH # `cd` would search it, and print where it went

self=$(readlink -f -- "$0") # through symbolic links; absolute, so that it holds after a `cd`
name=${self##*/}
root=$(dirname -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")")

usage() { sed -n '2,${/^#/!q;s/^# \{0,1\}//p}' "$self"; }

# wrong TEXT: ends for wrong usage.
wrong() {
  echo "$name: $1" >&2
  usage | grep '^usage: ' >&2
  echo "$name --help tells more" >&2
  exit 2
}

fail() {
  echo "$name: $1" >&2
  exit 1
}

# no_arguments ARGUMENT...: for a script that takes nothing but --help.
no_arguments() {
  [ $# -gt 0 ] || return 0
  case "$1" in
    -h | --help) usage; exit 0 ;;
    *) wrong "unknown argument '$1'" ;;
  esac
}

# ---- ends: no process and no temporary file stays, whatever ends the script ----------------------

scratch=
at_exit=- # what the trap of EXIT is

# make_scratch: a folder that goes with the script; what it runs puts temporary files there.
make_scratch() {
  scratch=$(mktemp -d "${TMPDIR:-/tmp}/$name.XXXXXX" 2>/dev/null) ||
    fail "cannot make a folder in '${TMPDIR:-/tmp}'; set TMPDIR to a folder that can be written"
  chmod 711 "$scratch" # tests that become somebody else go through it
  export TMPDIR=$scratch
}

# read_process PID: sets process_state and process_parent. Fails when there is none.
read_process() {
  local line
  local -a fields
  { read -r line <"/proc/$1/stat"; } 2>/dev/null || return 1
  read -ra fields <<<"${line##*) }" # the name before them may hold blanks and brackets
  process_state=${fields[0]} process_parent=${fields[1]}
}

# find_descendants PID: sets descendants to all processes that this one or what it started has
# started, parents first, but for this shell. Those that lost their parent are known by the folder for
# their temporary files.
find_descendants() {
  local folder pid orphans=
  local -A children=()
  local -a next=("$1") below
  descendants=()
  if [ -n "$scratch" ]; then
    # Not by a process substitution, which would still be there to be found.
    orphans=$(cd /proc && grep -slaF -- "TMPDIR=$scratch" [0-9]*/environ)
  fi
  for folder in /proc/[0-9]*; do
    pid=${folder#/proc/}
    read_process "$pid" || continue # gone meanwhile
    [ "$process_state" = Z ] || [ "$pid" = $$ ] || children[$process_parent]+=" $pid"
  done
  while [ ${#next[@]} -gt 0 ]; do
    read -ra below <<<"${children[${next[0]}]-}"
    descendants+=("${below[@]}")
    next=("${next[@]:1}" "${below[@]}")
  done
  for pid in ${orphans//\/environ/}; do
    if [ "$pid" != $$ ] && [ "$pid" != "$1" ] && read_process "$pid" && [ "$process_state" != Z ]; then
      descendants+=("$pid")
    fi
  done
}

patience=5 # seconds

# end_descendants PID: asks every process below this one to end, and makes it when patience is at an end.
end_descendants() {
  local -a asked=() left
  local pid deadline=$((SECONDS + patience))
  while :; do
    find_descendants "$1"
    left=()
    for pid in "${asked[@]}"; do # also those whose parent has ended before them
      if read_process "$pid" && [ "$process_state" != Z ]; then left+=("$pid"); fi
    done
    for pid in "${descendants[@]}"; do
      [[ " ${asked[*]-} " == *" $pid "* ]] && continue
      kill -TERM "$pid" 2>/dev/null
      kill -CONT "$pid" 2>/dev/null
      asked+=("$pid")
      left+=("$pid")
    done
    [ ${#left[@]} -gt 0 ] || return 0
    if [ "$SECONDS" -ge "$deadline" ]; then
      kill -KILL "${left[@]}" 2>/dev/null
      [ "$SECONDS" -lt $((deadline + 2)) ] || return 0 # in the kernel's hands
    fi
    sleep 0.02
  done
}

# hand_over_build: what root built in somebody's tree is that person's.
hand_over_build() {
  [ "$EUID" -eq 0 ] && [ -d "$root/build" ] && [ ! -O "$root" ] || return 0
  chown -RhP --reference="$root" -- "$root/build"
}

clean_up() {
  if [ "$BASHPID" = $$ ]; then
    trap '' HUP INT QUIT PIPE TERM
    end_descendants $$ 2>/dev/null # the shell would name each process that was killed
    [ -z "$scratch" ] || rm -rf -- "$scratch"
    hand_over_build
  fi
}

# ended_by NUMBER: what a signal does.
ended_by() {
  if [ "$BASHPID" = $$ ]; then
    trap '' HUP INT QUIT PIPE TERM
    clear_line
    echo "$name: interrupted" >&2
    clean_up
    trap - EXIT
  fi
  exit $((128 + $1))
}

clean_ends() {
  at_exit=clean_up
  trap clean_up EXIT
  trap 'ended_by 1' HUP
  trap 'ended_by 2' INT
  trap 'ended_by 3' QUIT
  trap 'ended_by 13' PIPE # nobody reads on
  trap 'ended_by 15' TERM
}

# need_writable_build: tells of a build made by another user before cmake fails in the middle of it.
need_writable_build() {
  local other
  if [ ! -e "$root/build" ]; then
    [ -w "$root" ] || fail "'$root' cannot be written, and the build is to be in it"
    return
  fi
  other=$(find "$root/build" -maxdepth 2 ! -type l ! -writable -print -quit 2>/dev/null)
  [ -z "$other" ] || fail "'$other' belongs to $(stat -c %U -- "$other") and cannot be written: \
remove it, or give it to you (chown -R $(id -un) build, as root)"
}

# ---- progress: one line that changes on a terminal, a line every few seconds anywhere else -------

progress=1      # the descriptor
quiet_seconds=9 # no longer is a log without a line; a pause before the next look may be added

fancy() { [ -t "$progress" ] && [ "${TERM:-dumb}" != dumb ]; }
clear_line() { if fancy; then printf '\r\033[K' >&"$progress"; fi; }

# duration SECONDS
duration() {
  if [ "$1" -lt 60 ]; then echo "$1 s"; else printf '%d min %02d s\n' $(($1 / 60)) $(($1 % 60)); fi
}

# percentage LOG: how far ninja or ctest say they are; nothing when the log is of neither.
percentage() {
  local done_of
  done_of=$(tail -c 4000 -- "$1" 2>/dev/null |
    grep -aoE '^\[[0-9]+/[1-9][0-9]*\]|^ *[0-9]+/[1-9][0-9]* Test ' | tail -n 1 | tr -cd 0-9/)
  [ -z "$done_of" ] || echo "$((100 * ${done_of%/*} / ${done_of#*/})) %"
}

# watch WHAT LOG COMMAND...: runs the command with its output in the log, says how far it is, and
# gives its status.
watch() {
  local what=$1 log=$2 pid tick ended status start=$SECONDS said=$SECONDS
  shift 2
  : >"$log" || return
  (
    trap - EXIT HUP QUIT PIPE TERM # they are the script's, or ignored in the background
    trap : INT                # from the keyboard it comes to all: this shell stays with its own
    "$@" </dev/null >"$log" 2>&1
  ) &
  pid=$!
  if fancy; then printf '%-28s' "$what" >&"$progress"; fi
  while :; do
    # Not `read -t`: bash 5.2 crashes when a signal that has a trap comes while it reads.
    # A child that is ended before it has forgotten our trap of EXIT would run it.
    trap - EXIT
    sleep 0.5 &
    tick=$!
    # shellcheck disable=SC2064 # a name
    trap "$at_exit" EXIT
    wait -n -p ended "$pid" "$tick"
    status=$?
    [ "$ended" != "$pid" ] || break
    if fancy; then
      printf '\r%-28s %6s %14s\033[K' "$what" "$(percentage "$log")" \
        "$(duration $((SECONDS - start)))" >&"$progress"
    elif [ $((SECONDS - said)) -ge "$quiet_seconds" ]; then
      said=$SECONDS
      printf '%-28s %6s %14s\n' "$what" "$(percentage "$log")" \
        "$(duration $((SECONDS - start)))" >&"$progress"
    fi
  done
  kill "$tick" 2>/dev/null
  wait "$tick" 2>/dev/null
  clear_line
  return "$status"
}
