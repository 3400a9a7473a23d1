# What `tmux capture-pane -p -e -N` gives, as an SVG picture. For LC_ALL=C: characters are counted by
# the bytes that begin one.

BEGIN {
    width = 8.4
    height = 18
    paper = "#14181d"
    ink = "#d5dae0"
    split("#5c6570 #ff6b68 #7ddf80 #ffd75e #6cb6ff #d2a8ff #6fdcdc #d5dae0", palette, " ")
    blocks = "\201\202\203\204\205\206\207\210"
    reset()
}

function reset() { bold = dim = reverse = 0; colour = ink }

# One number of an escape sequence that sets how text looks (ECMA-48, SGR).
function look(code) {
    if (code == 0) reset()
    else if (code == 1) bold = 1
    else if (code == 2) dim = 1
    else if (code == 7) reverse = 1
    else if (code == 22) bold = dim = 0
    else if (code == 27) reverse = 0
    else if (code >= 30 && code <= 37) colour = palette[code - 29]
    else if (code == 39) colour = ink
}

function rectangle(column, top, columns, high, fill) {
    body = body sprintf("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"%s\"/>\n",
                        column * width, top, columns * width, high, fill)
}

# The text gathered so far, as wide as its columns whatever font there is.
function write() {
    if (reverse && columns > 0) rectangle(begin, (row - 1) * height, columns, height, colour)
    if (columns > 0 && text !~ /^ *$/) {
        gsub(/&/, "\\&amp;", text)
        gsub(/</, "\\&lt;", text)
        body = body sprintf("<text x=\"%.1f\" y=\"%.1f\" textLength=\"%.1f\" fill=\"%s\"%s%s>%s</text>\n",
                            begin * width, row * height - 5, columns * width,
                            reverse ? paper : colour, bold ? " font-weight=\"bold\"" : "",
                            dim ? " opacity=\"0.6\"" : "", text)
    }
    begin += columns
    text = ""
    columns = 0
}

# A block that is so many eighths of a line high, less what keeps the lines apart.
function block(eighths, high) {
    write()
    high = eighths * (height - 4) / 8
    rectangle(begin, row * height - high, 1, high, colour)
    ++begin
}

function take(character, level) {
    level = character ~ /^\342\226/ ? index(blocks, substr(character, 3, 1)) : 0
    if (level > 0) {
        block(level)
    } else {
        text = text character
        ++columns
    }
}

{
    row = NR
    begin = columns = 0
    text = ""
    while ($0 != "") {
        if (match($0, /^\033\[[0-9;]*m/)) {
            write()
            count = split(substr($0, 3, RLENGTH - 3), codes, ";")
            if (count == 0) reset()
            for (i = 1; i <= count; ++i) look(codes[i] + 0)
        } else {
            match($0, /^.[\200-\277]*/)
            take(substr($0, 1, RLENGTH))
        }
        $0 = substr($0, RLENGTH + 1)
    }
    write()
}

END {
    wide = 100 * width + 24
    high = NR * height + 20
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\"", wide, high
    printf " viewBox=\"-12 -10 %d %d\" font-size=\"14\" xml:space=\"preserve\"", wide, high
    print " font-family=\"DejaVu Sans Mono, Menlo, Consolas, monospace\">"
    printf "<rect x=\"-12\" y=\"-10\" width=\"%d\" height=\"%d\" rx=\"8\"", wide, high
    printf " fill=\"%s\"/>\n%s</svg>\n", paper, body
}
