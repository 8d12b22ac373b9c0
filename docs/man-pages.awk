# Splits Doxygen's man page of a header into one page for each function and one for the rest of the
# header. The pages are written to man3 and man7 in the folder `out`. Pages of headers and types go
# to section 3, other topics to section 7.
#   awk -v out=DIR -v version=1.0.16 -f man-pages.awk FILE.3...

function open_page(page, section) {
  if (target) close(target)
  target = out "/man" section "/" page "." section
  printf ".TH \"%s\" %s \"\" \"velmor-core %s\" \"velmor-core\"\n.ad l\n.nh\n", page, section,
         version >target
}

function put(line) { print line >target }

function bare(text) {
  gsub(/\\f[A-Z]/, "", text)
  return text
}

# Notes the brief text of a function from Doxygen's list of functions. The first line of an entry is
# .RI "int32_t \fBname\fP (...", and the second line after it is .RI "Brief\&. ".
function note_brief(line) {
  line = bare(substr(line, 6))
  if (line ~ /[ *]velmor_core_[a-z0-9_]+ \(/) {
    sub(/ \(.*/, "", line)
    sub(/.* /, "", line)
    noted = line
  } else if (noted) {
    sub(/\\&\. "$/, "", line)
    briefs[noted] = line
    noted = ""
  }
}

function show_backslashes(line,    shown) {
  while (match(line, /\\[^&f-]/)) {
    shown = shown substr(line, 1, RSTART) "e" substr(line, RSTART + 1, 1)
    line = substr(line, RSTART + 2)
  }
  return shown line
}

function begin_function(signature,    name) {
  sub(/^\.SS "/, "", signature)
  sub(/"$/, "", signature)
  signature = bare(signature)
  gsub(/ \* /, " *", signature)
  gsub(/ \*\* /, " **", signature)
  name = signature
  sub(/ \(.*/, "", name)
  sub(/.*[ *]/, "", name)
  sub(/ \(/, "(", signature)
  open_page(name, 3)
  put(".SH NAME\n" name " \\- " briefs[name])
  put(".SH SYNOPSIS\n.B #include <" header ">\n.PP\n.HP\n" signature ";")
  put(".SH DESCRIPTION")
}

function end_function() {
  put(".SH \"SEE ALSO\"\n.BR " page " (3)")
}

FNR == 1 {
  if (in_functions) end_function()
  in_functions = in_author = 0
  page = FILENAME
  sub(/.*\//, "", page)
  sub(/\.3$/, "", page)
  header = ""
  if (page ~ /\.h$/) {
    header = "velmor_core/" page
    if (page != "velmor_core.h") page = "velmor_core_" page
  }
  is_topic = page ~ /-/
  open_page(page, is_topic ? 7 : 3)
}

/^\.TH / || /^\.ad l$/ || /^\.nh$/ { next }

/^\.SH NAME/ {
  put($0)
  getline
  sub(/^velmor_core\/[a-z_]+\.h/, page)
  sub(/(\\&\.)? *$/, "")
  put($0)
  if (is_topic) {
    getline
    sub(/^ /, "")
    put(".SH DESCRIPTION\n" $0)
  }
  next
}

header && /^\.SH SYNOPSIS/ {
  put($0 "\n.B #include <" header ">")
  next
}

/^\.SH "(Function Documentation|Author)"/ {
  if (in_functions) end_function()
  in_functions = /Function/
  in_author = !in_functions
  first_function = 1
  next
}
in_author { next }

/^\.RI "/ { note_brief($0) }

in_functions && /^\.SS "/ {
  if (!first_function) end_function()
  first_function = 0
  begin_function($0)
  next
}
in_functions && first_function { next }
in_functions && /^\\fB(Parameters|Returns)\\fP$/ {
  put(/Parameters/ ? ".SH PARAMETERS" : ".SH \"RETURN VALUE\"")
  next
}

# Doxygen does not escape the backslashes of programs.
/^\.nf$/ { in_program = 1 }
/^\.fi$/ { in_program = 0 }
in_program && /\\[^&f-]/ { $0 = show_backslashes($0) }

# One parameter a paragraph, with the texts aligned.
/^\\fI[a-z_0-9]+\\fP / {
  name = $1
  sub(/^[^ ]+ /, "")
  put(".TP 12\n" name "\n" $0)
  next
}
{ put($0) }
END { if (in_functions) end_function() }
