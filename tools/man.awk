# Makes the man page of a tool from its --help and from a second file, which is copied to the end.
#
#   awk -v version=VERSION -v name=NAME -f man.awk HELP MORE
#
# The help text begins with lines of usage. A section has a heading at the margin. A term is two columns in, and its text
# begins at column 20 or in the next line.
function escaped(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    gsub(/^[.']/, "\\\\\\&&", text)
    return text
}

BEGIN {
    says["pd-show"] = "show what the tables of the switch hold"
    says["pd-watch"] = "watch what an agent asks of the driver"
    print ".TH " escaped(toupper(name)) " 1 \"\" \"vl_bf_pd " version "\" \"User Commands\""
    print ".SH NAME\n" escaped(name) " \\- " escaped(says[name]) "\n.SH SYNOPSIS"
    in_usage = 1
}
FILENAME == ARGV[2] { print; next }
in_usage && /^$/ {
    print ".SH DESCRIPTION"
    in_usage = 0
    next
}
in_usage {
    sub(/^(Usage:)? +/, "")
    print ".B " escaped($0) "\n.br"
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
