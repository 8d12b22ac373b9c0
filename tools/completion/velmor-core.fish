# fish completion for velmor-core. The program itself says what may follow.
function __velmor_core_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l candidates ($words[1] complete $words[2..] "$current" 2>/dev/null </dev/null)
    if test $status -eq 1
        __fish_complete_path "$current"
    else
        printf '%s\n' $candidates
    end
end
complete -c velmor-core -f -a "(__velmor_core_complete)"
