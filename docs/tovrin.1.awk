# Makes the manual page tovrin(1) of language.md: of the sections about the command line, without their examples.
# awk -v version=0.1.0 -f tovrin.1.awk language.md

# A text as roff has it. What stands between backquotes is bold.
function roff(text) {
  gsub(/\\/, "\\e", text)
  gsub(/-/, "\\-", text)
  text = withoutLinks(text)
  while (match(text, /`[^`]*`/)) {
    text = substr(text, 1, RSTART - 1) "\\fB" substr(text, RSTART + 1, RLENGTH - 2) "\\fR" substr(text, RSTART + RLENGTH)
  }
  return (text ~ /^[.']/ ? "\\&" : "") text
}

# Links lead nowhere on paper: their texts are left.
function withoutLinks(text,   link) {
  while (match(text, /\[[^]]*\]\([^)]*\)/)) {
    link = substr(text, RSTART + 1, RLENGTH - 1)
    sub(/\].*/, "", link)
    text = substr(text, 1, RSTART - 1) link substr(text, RSTART + RLENGTH)
  }
  return text
}

# Names of options are bold, and their values slanted.
function heading(text,   words, count, i, line) {
  count = split(text, words, " ")
  for (i = 1; i <= count; i++) {
    line = line (i > 1 ? " " : "") (words[i] ~ /^-/ ? "\\fB" : "\\fI") roff(words[i]) "\\fR"
  }
  return line
}

BEGIN {
  print ".\\\" Made of docs/language.md."
  print ".TH TOVRIN 1 2026-11-22 \"tovrin " version "\" \"User Commands\""
  print ".SH NAME"
  print "tovrin \\- run Lua scripts with timers"
  print ".SH SYNOPSIS"
  print ".B tovrin"
  print "[\\fIOPTIONS\\fR] \\fIFILE\\fR [\\fIARG\\fR...]"
  print ".br"
  print ".B tovrin"
  print "\\fICOMMAND\\fR [\\fIOPTIONS\\fR] [\\fIWORD\\fR...]"
}

/^```/ { isCode = !isCode; next }
isCode { next }

# Ends a list, and what is under way besides.
function begin(what) {
  if (isList) {
    print ".RE"
  }
  isList = 0
  isEntry = what == "entry"
  hasText = 0
  isNew = 0
}

/^## / {
  begin("section")
  section = substr($0, 4)
  isWanted = section == "Exit status" || section ~ /^tovrin( |$)/
  if (section == "tovrin") {
    print ".SH DESCRIPTION"
  } else if (section == "Exit status") {
    print ".SH EXIT STATUS"
  } else if (isWanted) {
    print (hasCommands++ ? "" : ".SH COMMANDS\n") ".SS " roff(section)
  }
  next
}
!isWanted { next }

/^### / {
  begin("entry")
  print ".TP\n" heading(substr($0, 5))
  next
}
/^\| status / || /^\|--/ { next }
/^\|/ {
  split($0, cells, / ?\| ?/)
  print ".TP\n.B " roff(cells[2]) "\n" roff(cells[3])
  next
}
/^- / {
  if (!isList++) {
    print ".RS"
  }
  print ".IP \\(bu 2\n" roff(substr($0, 3))
  isNew = 0
  next
}
/^$/ { isNew = hasText; next }
{
  if (isList && !/^ /) {
    print ".RE"
    isList = 0
  }
  if (isNew) {
    print isEntry ? ".IP" : ".PP"
  }
  isNew = 0
  hasText = 1
  sub(/^ +/, "")
  print roff($0)
}

END {
  print ".SH FILES"
  print ".TP\n.I ~/.config/tovrin/init.lua\nIs run first by \\fBtovrin shell\\fR."
  print ".TP\n.I ~/.local/state/tovrin/history\nWhat was typed there."
  print ".SH SEE ALSO"
  print ".BR tovrintimer (7),"
  print "and the reference of the language, with an example for each option,"
  print "which \\fBhelp()\\fR prints in a script."
}
