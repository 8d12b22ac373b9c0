#!/usr/bin/env bash
# Prints the man page of the program. It is made from the program's help, so both say the same.
#   program-page.sh PROGRAM VERSION
set -euo pipefail
program=$1 version=$2

# Turns help into roff. Paragraphs with columns or indented lines keep their line breaks.
to_roff() {
  awk -v RS= '{
    gsub(/\\/, "\\e")
    gsub(/-/, "\\-")
    gsub(/\n\./, "\n\\\\\\&.")  # a dot at the start of a line would begin a macro
    set = $0 ~ /(^|\n) / || $0 ~ /[^ ]   +[^ ]/
    print ".PP\n" (set ? ".nf\n" $0 "\n.fi" : $0)
  }'
}
bold() { printf '.B %s\n' "${1//-/\\-}"; }

overview=$("$program" --help)
commands=$(sed -n '/^Commands:/,/^$/s/^  \([a-z0-9-]*\) .*/\1/p' <<<"$overview")
summary=$(head -n 1 <<<"$overview")

cat <<END
.TH VELMOR\-CORE 1 "" "velmor\-core $version" "velmor\-core"
.SH NAME
velmor\-core \- show, check and edit RIFF files
.SH SYNOPSIS
.nf
END
for command in $commands; do
  bold "$("$program" "$command" --help | sed -n '1s/^Usage: //p')"
done
printf '.fi\n.SH DESCRIPTION\n'
echo "$summary" | to_roff
sed '1,/^Commands:/d' <<<"$overview" | sed '1,/^$/d; /^Exit status/,$d' | to_roff
echo .SH COMMANDS
for command in $commands; do
  printf '.SS %s\n' "${command//-/\\-}"
  "$program" "$command" --help | sed 1,2d | to_roff
done
echo '.SH "EXIT STATUS"'
sed -n 's/^Exit status: //p' <<<"$overview" | to_roff
cat <<'END'
.SH "SEE ALSO"
.BR velmor\-core\-program (7),
.BR velmor_core.h (3),
.BR velmor\-core\-riff (7),
.BR velmor\-core\-numbers (7)
END
