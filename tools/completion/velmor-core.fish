# fish completion for velmor-core
set -l commands tree extract set add remove recycle check verify repair tag num uuid sha256 cpu version
function __velmor_core_uses
    set -l words (commandline -opc)
    test (count $words) -gt 1; and contains -- $words[2] $argv
end
complete -c velmor-core -n "not __velmor_core_uses $commands" -f -a "$commands help"
complete -c velmor-core -n "__velmor_core_uses num uuid cpu version" -f
complete -c velmor-core -n "__velmor_core_uses uuid" -a "new parse compare"
complete -c velmor-core -n "__velmor_core_uses tree" -l json -d "Print JSON"
complete -c velmor-core -n "__velmor_core_uses tag" -l json -d "Print JSON"
complete -c velmor-core -n "__velmor_core_uses tag" -l encoding -x -d "Encoding of the texts in the files"
complete -c velmor-core -n "__velmor_core_uses tree" -l path -x -d "Start from this chunk"
complete -c velmor-core -n "__velmor_core_uses extract set add remove recycle repair tag" -s o -r -d "Write to this file"
complete -c velmor-core -n "__velmor_core_uses extract set add remove recycle repair tag" -l force -d "Replace it"
complete -c velmor-core -n "__velmor_core_uses set add remove recycle tag" -l dry-run -d "Write nothing"
complete -c velmor-core -n "__velmor_core_uses set add remove recycle repair tag" -l in-place -d "Write to the file itself"
complete -c velmor-core -n "__velmor_core_uses tree" -l any -d "Show any file"
complete -c velmor-core -n "__velmor_core_uses repair" -l keep-trailing -d "Keep bytes of no chunk"
complete -c velmor-core -n "__velmor_core_uses repair" -l drop-trailing -d "Drop bytes of no chunk"
complete -c velmor-core -l help -d "Show help"
