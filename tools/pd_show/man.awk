# Makes the man page of pd-show from its --help and from a second file, which is copied to the end.
#
#   awk -v version=VERSION -f man.awk HELP MORE
#
# In the help text, a section has a heading at the margin. A term is two columns in, and its text begins at column 20
# or in the next line.
function escaped(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    gsub(/^[.']/, "\\\\\\&&", text)
    return text
}

BEGIN {
    print ".TH PD\\-SHOW 1 \"\" \"vl_bf_pd " version "\" \"User Commands\""
    print ".SH NAME\npd\\-show \\- show what the tables of the switch hold\n.SH SYNOPSIS"
}
FILENAME == ARGV[2] { print; next }
/^Usage: / {
    sub(/^Usage: /, "")
    print ".B " escaped($0) "\n.SH DESCRIPTION"
    next
}
/^[A-Z][a-z ]*:$/ {
    sub(/:$/, "")
    print ".SH " toupper($0)
    next
}
/^$/ { next }
/^  [^ ]/ {
    term = substr($0, 3)
    text = ""
    if (match(term, /   *[^ ]/)) {
        text = substr(term, RSTART + RLENGTH - 1)
        term = substr(term, 1, RSTART - 1)
    }
    print ".TP\n.B " escaped(term)
    if (text != "") print escaped(text)
    next
}
{
    sub(/^ +/, "")
    print escaped($0)
}
