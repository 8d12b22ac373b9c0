# The habits of the command line: options, several files at the same time, completion, examples.
source "${BASH_SOURCE[0]%/*}/../support/shell.sh"

# Tests

jobs_print_as_one_process_does() {
  local command jobs status files
  take alpha.webp clip.avi tagged.wav tone.wav
  head -c 5000 tagged.wav >cut.wav
  echo text >foreign
  files=(* gone tone.wav)
  for command in check verify tree "tree --json" sha256; do
    "$program" $command "${files[@]}" >one 2>&1
    status=$?
    for jobs in --jobs=3 --jobs=0 -j64; do
      "$program" $command $jobs "${files[@]}" >many 2>&1
      expect_equal "status of $command $jobs" $status $?
      cmp one many || fail "$command $jobs"
    done
  done
  (ulimit -n 12 && "$program" sha256 -j9 clip.avi{,}{,}{,}) | uniq -c | grep -q ' 8 .*clip.avi' || fail "few descriptors"
  "$program" sha256 -j2 clip.avi tone.wav 2>err >/dev/full && fail "full disk"
  expect_equal "full disk" "velmor-core: cannot write the output" "$(<err)"
}

repair_takes_many_files() {
  take tagged.wav clip.avi
  head -c 5000 tagged.wav >a.wav
  head -c 6000 tagged.wav >b.wav
  "$program" repair -j2 a.wav clip.avi b.wav >out || fail repair
  [[ $(<out) == *a.repaired.wav*clip.avi:\ sound*b.repaired.wav* ]] || fail "$(<out)"
  "$program" check -j2 *.repaired.wav || fail "the results are damaged"
  "$program" repair -o one a.wav b.wav 2>err
  expect_equal "-o for two files" 2 $?
}

# A signal to the program, and the death of a worker. The pipes keep the workers waiting.
jobs_end_together() {
  local signal pid workers
  mkfifo first second
  for signal in TERM HUP KILL; do
    "$program" sha256 -j2 first second &
    pid=$!
    until [[ $(pgrep -c -P $pid) == 2 ]]; do sleep 0.01; done
    workers=$(pgrep -d' ' -P $pid)
    kill -s $signal $pid
    wait $pid 2>/dev/null
    expect_equal "signal" $signal "$(kill -l $?)"
    [[ $signal == KILL ]] && sleep 0.5 # the system passes it on to the workers
    ps -o stat= -p "$workers" | grep -qv Z && fail "workers live on after $signal"
  done
  take tone.wav
  "$program" sha256 -j2 first tone.wav >out 2>err &
  pid=$!
  until [[ $(pgrep -c -P $pid) == 1 ]]; do sleep 0.01; done
  kill -s SEGV $(pgrep -P $pid)
  wait $pid && fail "status"
  expect_equal message "velmor-core: first: its worker was ended by signal 11 (Segmentation fault)" "$(<err)"
  grep -q tone.wav out || fail "the other file"
}

main
