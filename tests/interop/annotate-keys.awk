# Turns the key lists of an IDL file ("#pragma keylist Struct member,member") into @key annotations, the only form that
# the other IDL compiler understands. The file is read twice:
#   awk -f annotate-keys.awk routing.idl routing.idl
# A file that carries @key annotations already passes unchanged. A key list that names no member of its struct is an
# error, so that a key can never get lost on the way.
FNR == NR {
    if ($1 == "#pragma" && $2 == "keylist") {
        list = $0
        sub(/^[ \t]*#pragma[ \t]+keylist[ \t]+[A-Za-z0-9_]+[ \t]*/, "", list)
        count = split(list, members, /[ \t,]+/)
        for (i = 1; i <= count; i++)
            if (members[i] != "")
                wanted[$3 "." members[i]] = 1
    }
    next
}
/^[ \t]*#pragma[ \t]+keylist/ { next }
/^[ \t]*struct[ \t]/ { current = $2; sub(/\{.*/, "", current) }
/;[ \t]*(\/\/.*)?$/ && current != "" {
    member = $0
    sub(/[ \t]*;.*$/, "", member)
    sub(/^.*[ \t>]/, "", member)
    if ((current "." member) in wanted) {
        delete wanted[current "." member]
        if ($0 !~ /@key/)
            sub(/[^ \t]/, "@key &")
    }
}
/^[ \t]*\}/ { current = "" }
{ print }
END {
    for (name in wanted) {
        print "no such member in the key list: " name > "/dev/stderr"
        failed = 1
    }
    exit failed
}
