# SPDX-License-Identifier: MIT
# Turns a page of browser/help into a manual page: awk -v version=1.2.3 -f manpage.awk en.txt
# Sections begin in the first column and paragraphs in the fifth; a line above lines from the ninth on is the
# term that they explain.
function escaped(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    sub(/^[.']/, "\\\\\\&&", text)
    return text
}
function depth(text) {
    match(text, /^ */)
    return RLENGTH
}
{ lines[NR] = $0 }
END {
    # REUSE-IgnoreStart
    print ".\\\" SPDX-License-Identifier: MIT"
    # REUSE-IgnoreEnd
    print ".TH SITO\\-BROWSER 1 \"\" \"Sito " version "\""
    for (i = 1; i <= NR; ++i) {
        line = lines[i]
        text = escaped(substr(line, depth(line) + 1))
        if (line == "") {
            after = 1
        } else if (depth(line) == 0) {
            if (asTyped)
                print ".fi"
            print ".SH " text
            ++sections
            # Lines of commands are not joined; the first section is the name alone.
            asTyped = sections > 1 && lines[i + 1] ~ /^    sito-browser /
            if (asTyped)
                print ".nf"
            after = explained = 0
        } else if (asTyped) {
            print (depth(line) > 4 ? "    " : "") text
        } else if (depth(line) == 4 && depth(lines[i + 1]) >= 8) {
            print ".TP\n\\fB" text "\\fR"
            explained = 1
            after = 0
        } else {
            if (after || (explained && depth(line) == 4))
                print ".PP"
            if (depth(line) == 4)
                explained = 0
            after = 0
            print text
        }
    }
}
