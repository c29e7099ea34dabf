#!/usr/bin/awk -f
# Turns the plain comments of a header into the form that Doxygen reads: the first block
# into the text of the file, a block before declarations into the text of each of them up
# to the next empty line, a comment behind a member into that member's.

# Markup characters are meant as they are; indented lines are code.
function plain(text) {
    if (text ~ /^     /) return text
    gsub(/[\\@#<>"]/, "\\\\&", text)
    return text
}

function printBlock(    i) {
    for (i = 1; i <= nbLines; i++) print block[i]
}

!started && /^\/\// {
    if (!inFile) print "/** @file"
    inFile = 1
    sub(/^\/\//, "")
    print " *" plain($0)
    next
}

inFile {
    print " */"
    inFile = 0
}

{ started = 1 }

# Held back until it is known what follows.
/^ *\/\// {
    if (complete) nbLines = 0
    complete = 0
    match($0, /^ */)
    block[++nbLines] = substr($0, 1, RLENGTH) "///" plain(substr($0, RLENGTH + 3))
    next
}

/^ *$/ {
    nbLines = 0
    complete = 0
    print
    next
}

{
    if (nbLines > 0 && (!complete || $0 ~ /^[A-Za-z].*\(/)) printBlock()
    complete = 1
    if (match($0, /[;,]  +\/\/ /))
        print substr($0, 1, RSTART) " ///< " plain(substr($0, RSTART + RLENGTH))
    else
        print
}
