# Turns a public header into what Doxygen understands. Plain comments at the margin become text on
# the file. A comment above several primitives is said of each. Signs that are arithmetic here and
# markup there are escaped.

function escaped(text) {
  gsub(/[*<>&#%@|]/, "\\\\&", text)
  return text
}

/^\/\/( |$)/ {
  if (!inFileText) print "/** @file"
  inFileText = 1
  text = substr($0, 4)
  # A table keeps its columns.
  print text ~ /^  / ? "   " text : escaped(text)
  next
}
inFileText {
  print "*/"
  inFileText = 0
}

/^\/\/\/( |$)/ {
  if (!inComment) comment = ""
  inComment = 1
  comment = comment escaped($0) "\n"
  next
}

/^[A-Za-z]/ && (inComment || / \*?ipps/) { printf "%s", comment }
/^$/ { comment = "" }
{
  inComment = 0
  print
}
