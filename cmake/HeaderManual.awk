# SPDX-License-Identifier: Apache-2.0
# Writes the manual page qorfp(3) from the comments of the public header:
#
#   awk -v version=1.1.3 -f HeaderManual.awk QORFPApi.h
#
# It knows the marks that the header uses: @file, @brief, @param, @return, **bold**, `code`, #name,
# tables with "|", and an empty line between paragraphs.

# Text with its marks as fonts.
function marked(text) {
    gsub(/\\/, "\\e", text)
    while (match(text, /\*\*[^*]+\*\*/)) {
        text = substr(text, 1, RSTART - 1) "\\fB" substr(text, RSTART + 2, RLENGTH - 4) "\\fR" \
            substr(text, RSTART + RLENGTH)
    }
    while (match(text, /`[^`]+`/)) {
        text = substr(text, 1, RSTART - 1) "\\fI" substr(text, RSTART + 1, RLENGTH - 2) "\\fR" \
            substr(text, RSTART + RLENGTH)
    }
    gsub(/#QORFP_/, "QORFP_", text)
    gsub(/-/, "\\-", text)
    if (text ~ /^[.']/) {
        text = "\\&" text
    }
    return text
}

# The text of a comment as paragraphs; tables keep their lines.
function paragraphs(text,    lines, count, i, isTable, out) {
    count = split(text, lines, "\n")
    for (i = 1; i <= count; ++i) {
        if (lines[i] ~ /^\|/ && lines[i] ~ /^[|-]+$/) {
            continue
        }
        if ((lines[i] ~ /^\|/) != isTable) {
            isTable = !isTable
            out = out (isTable ? ".nf\n" : ".fi\n")
        }
        if (isTable) {
            gsub(/ *\| */, "  ", lines[i])
            sub(/^ +/, "", lines[i])
        }
        out = out (lines[i] == "" ? (i > 1 && i < count ? ".PP" : ".\\\"") : marked(lines[i])) "\n"
    }
    return out (isTable ? ".fi\n" : "")
}

# Cuts the comment that was read into its text, parameters and result.
function cut_comment(comment,    lines, count, i, part) {
    text = result = ""
    parameters = 0
    split("", names)
    split("", meanings)
    count = split(comment, lines, "\n")
    part = "text"
    for (i = 1; i <= count; ++i) {
        if (lines[i] ~ /^@(file|brief)/) {
            isFile = 1
            continue
        }
        if (lines[i] ~ /^@param/) {
            part = "parameter"
            sub(/^@param(\[[a-z,]+\])? */, "", lines[i])
            names[++parameters] = lines[i]
            sub(/ .*/, "", names[parameters])
            sub(/^[^ ]+ */, "", lines[i])
        } else if (lines[i] ~ /^@return/) {
            part = "result"
            sub(/^@return */, "", lines[i])
        } else if (lines[i] == "" && part != "text") {
            part = "text"
        }
        sub(/^ +/, "", lines[i])
        if (part == "parameter") {
            meanings[parameters] = meanings[parameters] marked(lines[i]) "\n"
        } else if (part == "result") {
            result = result marked(lines[i]) "\n"
        } else {
            text = text lines[i] "\n"
        }
    }
    gsub(/\n\n\n+/, "\n\n", text)
    sub(/\n+$/, "", text)
    sub(/^\n+/, "", text)
}

/^ *\/\*\*/ {
    comment = $0
    isOneLine = comment ~ /\*\/ *$/
    sub(/^ *\/\*\* ?/, "", comment)
    sub(/ *\*\/ *$/, "", comment)
    inComment = !isOneLine
    if (isOneLine) {
        cut_comment(comment)
    }
    next
}
inComment && /\*\/ *$/ {
    inComment = 0
    cut_comment(comment)
    if (isFile) {
        description = paragraphs(text)
        isFile = 0
    }
    next
}
inComment {
    line = $0
    sub(/^ *\* ?/, "", line)
    comment = comment "\n" line
    next
}

/^#define QORFP_[A-Z_]+ [0-9]+$/ {
    constants = constants ".TP\n\\fB" $2 "\\fR (" $3 ")\n" paragraphs(text)
    next
}
/^enum QORFP_Result / {
    codes = paragraphs(text)
    next
}
/^ +QORFP_[A-Z_]+ = [0-9]+,?$/ {
    codes = codes ".TP\n\\fB" $1 "\\fR (" ($3 + 0) ")\n" paragraphs(text)
    next
}
/^QORFP_EXPORT / {
    prototype = ""
    inPrototype = 1
}
inPrototype {
    line = $0
    sub(/^ +/, "", line)
    prototype = prototype (prototype == "" ? "" : " ") line
    if (line !~ /;$/) {
        next
    }
    inPrototype = 0
    sub(/^QORFP_EXPORT /, "", prototype)
    name = prototype
    sub(/\(.*/, "", name)
    sub(/.* /, "", name)
    list = list (list == "" ? "" : ", ") name
    synopsis = synopsis ".HP\n\\fB" marked(prototype) "\\fR\n"
    calls = calls ".SS " name "\n.HP\n\\fB" marked(prototype) "\\fR\n.PP\n" paragraphs(text)
    for (i = 1; i <= parameters; ++i) {
        calls = calls ".TP\n\\fI" names[i] "\\fR\n" meanings[i]
    }
    calls = calls ".PP\nReturns\n" result
}

END {
    print ".\\\" Made from QORFPApi.h by HeaderManual.awk."
    print ".TH QORFP 3 \"\" \"qorfp " version "\" \"Library Functions\""
    print ".nh\n.ad l"
    print ".SH NAME\n" list " \\- fingerprint recognition"
    print ".SH SYNOPSIS\n.B #include <QORFPApi.h>\n.PP\nLink with \\fI\\-lqorfp\\fR."
    printf "%s", synopsis
    printf ".SH DESCRIPTION\n%s", description
    printf ".SH CALLS\n%s", calls
    printf ".SH RESULT CODES\n%s", codes
    printf ".SH CONSTANTS\n%s", constants
    print ".SH SEE ALSO\n.BR qorfp (1)"
}
