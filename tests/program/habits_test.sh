# The habits of the command line: options, several files at the same time, completion, examples.
source "${BASH_SOURCE[0]%/*}/../support/shell.sh"

# offers CANDIDATES WORD...: after WORD..., completion offers CANDIDATES; ignores descriptions
offers() { expect_equal "after ${*:2}" "$1" "$("$program" complete "${@:2}" | cut -f1 | xargs -d'\n')"; }

# What bash would insert for the last word of a line.
completed() {
  COMP_LINE=$* COMP_WORDS=($(sed 's/[:=]/ & /g' <<<"$*")) COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _velmor_core "$program"
  echo "${COMPREPLY[*]}"
}

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

options_and_paths_take_every_usual_form() {
  local form
  take tagged.wav
  "$program" tree --path RIFF:WAVE/LIST tagged.wav >tree
  for form in "--path=RIFF:WAVE/LIST" "--path /RIFF:WAVE/LIST" "--path=//RIFF/LIST:INFO//"; do
    expect_equal "$form" "$(<tree)" "$("$program" tree $form tagged.wav)"
  done
  "$program" set --output=new.wav tagged.wav /RIFF/LIST/INAM/ x || fail "--output"
  "$program" set --force -onew.wav tagged.wav RIFF/LIST/INAM y || fail "-oFILE"
  expect_equal value y "$("$program" extract new.wav RIFF/LIST/INAM | tr -d '\0')"
  # wrong COMMAND WORD...: the words are refused with status 2, and the message names the help of
  # COMMAND ("" for the general help).
  wrong() {
    "$program" "${@:2}" >out 2>err
    expect_equal "status of ${*:2}" 2 $?
    [[ $(<err) == *"\"velmor-core ${1:+$1 }--help\" explains the usage." ]] || fail "$(<err)"
  }
  wrong set set tagged.wav
  wrong tree tree --json=yes tagged.wav
  wrong check check -j
  wrong check check --jobs=65 tagged.wav
  wrong check check --quiet --json tagged.wav
  wrong "" help set tree
  wrong "" paint
}

check_speaks_json() {
  take tagged.wav
  head -c 5001 tagged.wav >cut.wav
  printf '\1' | dd of=tagged.wav bs=1 seek=63 conv=notrunc status=none # a pad byte
  "$program" check -j2 --json tagged.wav cut.wav gone >lines 2>err
  expect_equal status 3 $?
  expect_equal sound "$(grep -c '"damages":0,"warnings":1,"findings":.{"offset":[0-9]*,"severity":"warning","text"' lines)" 1
  grep -q '"size":5001,.*"damages":1,.*{"offset":116,"severity":"damage","repairable":true,"text":"RIFF:WAVE/data ends 3123 bytes past the end of the file"}\]}$' lines ||
    fail "$(<lines)"
  expect_equal "quiet" "velmor-core: cut.wav: $("$program" check cut.wav 2>&1 | cut -d' ' -f3-)
tagged.wav: sound, 7 chunks" "$("$program" check -q cut.wav tagged.wav 2>&1)"
  expect_schema lines
}

# In a folder as the examples expect it.
every_example_works() {
  local command line
  velmor-core() { "$program" "$@"; }
  for command in $("$program" --help | sed -n 's/^  \([a-z0-9]*\)  .*/\1/p'); do
    mkdir "$command" && cd "$command" && take tone.wav clip.avi alpha.webp || fail "$command"
    cp "$data/tagged.wav" song.wav && head -c 5000 song.wav >cut.wav && head -c 400 song.wav >edited.raw && cp edited.raw alpha.xmp
    "$program" "$command" --help | sed '1,/^Examples:$/d' >examples
    [[ -s examples ]] || fail "$command has no examples"
    while read -r line; do
      # cut.wav is damaged, so check and verify fail for it.
      eval "$line" >out 2>err </dev/null || { [[ $line == *" "@(check|verify)" "*"*.wav"* ]] && grep -q cut.wav err; } ||
        fail "$line: $(<err)"
    done <examples
    cd ..
  done
}

completion_reads_the_file() {
  take clip.avi tagged.wav
  offers "set" se
  offers "--quiet --json --jobs --help" check --
  offers "new parse compare" uuid ""
  offers "RIFF:WAVE/fmt RIFF:WAVE/LIST:INFO/ RIFF:WAVE/data" set tagged.wav RIFF:WAVE/
  offers "/RIFF/LIST/INAM" extract --force tagged.wav /RIFF/LIST/IN
  offers "--path=RIFF:WAVE/" tree tagged.wav --path=R
  offers "RIFF/LIST:hdrl/LIST:strl[1]/ RIFF/LIST:hdrl/LIST:strl[2]/" remove clip.avi RIFF/LIST:hdrl/L
  offers "" set gone RIFF
  "$program" complete repair tagged.wav ""
  expect_equal "files are left to the shell" 1 $?
  # Completion must not offer each of so many chunks. It offers one candidate for all: "RIFF/abcd[".
  { printf 'RIFF\xf0\xff\xff\x7fWAVE' && yes 'abcd    ' | tr -d '\n' | tr ' ' '\0' | head -c 100000; } >many
  truncate -s 2G many
  offers "RIFF/abcd[" extract many RIFF/ab
  (time -p timeout 5 "$program" complete extract many RIFF/abcd/) 2>time || fail "slow: $(<time)"
}

bash_splits_words_at_colons() {
  take clip.avi
  cp clip.avi a:b.avi
  compopt() { :; } # works only during completion
  complete() { :; }
  source "${BASH_SOURCE[0]%/*}/../../tools/completion/velmor-core.bash"
  expect_equal path 'hdrl/' "$(completed velmor-core set clip.avi RIFF:AVI/LIST:h)"
  expect_equal number 'strl\[1\]/ strl\[2\]/' "$(completed velmor-core set clip.avi RIFF:AVI/LIST:hdrl/LIST:s)"
  expect_equal option "AVI/" "$(completed velmor-core tree clip.avi --path=RIFF:)"
  expect_equal file "b.avi" "$(completed velmor-core tree a:)"
}

progress_counts_files_at_terminals() {
  script -qec true /dev/null >/dev/null || return 77 # no pseudo-terminals here
  take tone.wav
  mkfifo slow later
  (sleep 1.2 && cat tone.wav >slow && sleep 0.5 && cat tone.wav >later) &
  script -qec "stty cols 80; '$program' sha256 -j3 slow later tone.wav" /dev/null </dev/null >out
  [[ $(<out) == *$'working: 66% [######    ] 2 of 3 files, 1 s left\e[K\r\e[K'*"  later"* ]] || fail "$(cat -v out)"
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
  kill -s KILL $(pgrep -P $pid)
  wait $pid && fail "status"
  expect_equal message "velmor-core: first: its worker was ended by signal 9 (Killed)" "$(<err)"
  grep -q tone.wav out || fail "the other file"
}

main
