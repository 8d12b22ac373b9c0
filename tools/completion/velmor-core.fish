# fish completion for velmor-core
set -l commands tree map diff extract set add remove recycle check verify repair num uuid sha256 cpu version
function __velmor_core_uses
    set -l words (commandline -opc)
    test (count $words) -gt 1; and contains -- $words[2] $argv
end
complete -c velmor-core -n "not __velmor_core_uses $commands" -f -a "$commands help"
complete -c velmor-core -n "__velmor_core_uses num uuid cpu version" -f
complete -c velmor-core -n "__velmor_core_uses uuid" -a "new parse compare"
complete -c velmor-core -n "__velmor_core_uses tree map diff" -l json -d "Print JSON"
complete -c velmor-core -n "__velmor_core_uses tree" -l path -x -d "Start from this chunk"
complete -c velmor-core -n "__velmor_core_uses map extract set add remove recycle repair" -s o -r -d "Write to this file"
complete -c velmor-core -n "__velmor_core_uses map extract set add remove recycle repair" -l force -d "Replace it"
complete -c velmor-core -n "__velmor_core_uses set add remove recycle" -l dry-run -d "Write nothing"
complete -c velmor-core -n "__velmor_core_uses set add remove recycle repair" -l in-place -d "Write to the file itself"
complete -c velmor-core -n "__velmor_core_uses tree map diff" -l any -d "Accept any file"
complete -c velmor-core -n "__velmor_core_uses tree" -l depth -x -d "Show this many levels"
complete -c velmor-core -n "__velmor_core_uses tree" -l summary -d "One line for each id"
complete -c velmor-core -n "__velmor_core_uses diff" -l quiet -d "Print nothing"
complete -c velmor-core -n "__velmor_core_uses repair" -l keep-trailing -d "Keep bytes of no chunk"
complete -c velmor-core -n "__velmor_core_uses repair" -l drop-trailing -d "Drop bytes of no chunk"
complete -c velmor-core -l help -d "Show help"
