# Doxygen's input filter. It turns the plain comments of the public headers into Doxygen's commands:
# a table after "In:" or "Out:" into parameters, "Returns" into the results, "Word.  " into the title
# of a paragraph, an indented block into verbatim text. All other text stays as it is.

# The text of a paragraph. Only backticks keep their meaning; all else is escaped.
function plain(text,    parts, count, i, result) {
  count = split(text, parts, "`")
  for (i = 1; i <= count; ++i) {
    if (i % 2 == 0) {
      result = result "`" parts[i] "`"
      continue
    }
    gsub(/[\\@#$%&<>*_]/, "\\\\&", parts[i])
    gsub(/--/, "\\--", parts[i])
    gsub(/[A-Za-z0-9]\\_/, "&\001", parts[i])
    gsub(/\\_\001/, "_", parts[i])
    while (sub(/"/, quoted ? "\\&rdquo;" : "\\&ldquo;", parts[i])) quoted = !quoted
    result = result parts[i]
  }
  return result
}

function emit(text) { print text == "" ? " *" : " * " text }

function end_block() {
  if (mode == "verbatim") print "@endverbatim"
  mode = ""
}

# A row "name  text" of the parameters. A parameter that is read and written has two rows.
function parameter(row, direction,    name) {
  name = row
  sub(/ .*/, "", name)
  sub(/^[^ ]+ +/, "", row)
  if (name in seen) {
    emit("<br>On return: " plain(row))
    return
  }
  if (both_ways[name]) direction = "in,out"
  seen[name] = 1
  emit("@param[" direction "] " name " " plain(row))
}

function comment_line(text,    indent) {
  match(text, /^ */)
  indent = RLENGTH
  if (text == "") {
    end_block()
    blank = 1
    emit("")
    return
  }
  if (text ~ /^(In|Out):  /) {
    end_block()
    direction = text ~ /^In/ ? "in" : "out"
    sub(/^(In|Out): +/, "", text)
    mode = "parameters"
    column = 6
    parameter(text, direction)
  } else if (mode == "parameters" && indent == column) {
    parameter(substr(text, indent + 1), direction)
  } else if (text ~ /^Returns /) {
    end_block()
    mode = "results"
    sub(/^Returns /, "", text)
    emit("@return " plain(text))
  } else if (mode == "results" && text ~ /^  VELMOR_CORE_[A-Z_]+  /) {
    match(text, /VELMOR_CORE_[A-Z_]+/)
    emit("- " substr(text, RSTART, RLENGTH) ": " plain(substr(text, RSTART + RLENGTH + 2)))
  } else if (mode == "results" && text ~ /^  - /) {
    emit(plain(substr(text, 3)))
  } else if (mode == "verbatim" || (blank && mode == "" && indent >= 2)) {
    if (mode == "") emit("@verbatim")
    mode = "verbatim"
    print text
  } else if (match(text, /^[A-Z][A-Za-z -]*\.  /)) {
    end_block()
    emit("**" substr(text, 1, RLENGTH - 2) "** " plain(substr(text, RLENGTH + 1)))
  } else if (mode != "") {
    sub(/^ +/, "", text)
    emit("  " plain(text))
  } else {
    emit(plain(text))
  }
  blank = 0
}

# Finds the parameters that are both read and written, then prints the whole comment.
function comment(    i, row, current, rows) {
  delete seen
  delete both_ways
  delete rows
  for (i = 1; i <= count; ++i) {
    row = lines[i]
    if (row ~ /^(In|Out):  /) current = row ~ /^In/ ? "in" : "out"
    else if (row !~ /^      [^ ]/) current = ""
    if (current == "") continue
    sub(/^(In|Out): +/, "", row)
    sub(/^ +/, "", row)
    sub(/ .*/, "", row)
    if (rows[row] != "" && rows[row] != current) both_ways[row] = 1
    rows[row] = current
  }
  mode = ""
  blank = 1
  quoted = 0
  for (i = 1; i <= count; ++i) comment_line(lines[i])
  end_block()
  print " */"
}

FNR == 1 { first = 1 }

!inside && /^ *\/\*\*/ {
  inside = 1
  count = 0
  print "/**" (first ? " @file" : "")
  first = 0
  sub(/^ *\/\*\* ?/, "")
  $0 = " *  " $0
}

inside {
  closed = sub(/ *\*\/ *$/, "")
  sub(/^ *\*/, "")
  sub(/^ /, "")
  sub(/^ /, "")
  if (!(closed && $0 ~ /^ *\*?$/)) lines[++count] = $0
  if (closed) {
    inside = 0
    comment()
  }
  next
}

{ print }
