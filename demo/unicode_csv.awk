# Makes the tables of the demo from files of the Unicode Character Database.
#
#   awk -v directory=OUT -f unicode_csv.awk PropertyValueAliases.txt Blocks.txt UnicodeData.txt
#
# writes category.csv (code, name), block.csv (id, first_code, last_code, name) and glyph.csv (code, name,
# category, block) to OUT. Code points become decimal numbers.

function number(hexadecimal,    value, i) {
    value = 0
    for (i = 1; i <= length(hexadecimal); i++)
        value = value * 16 + index("0123456789ABCDEF", substr(hexadecimal, i, 1)) - 1
    return value
}

function trimmed(text) {
    sub(/^[ \t]+/, "", text)
    sub(/[ \t]+$/, "", text)
    return text
}

function quoted(text) {
    gsub(/"/, "\"\"", text)
    return "\"" text "\""
}

BEGIN { FS = ";" }

FNR == 1 { file++ }

# gc ; Lu ; Uppercase_Letter
file == 1 && $1 ~ /^gc / {
    code = trimmed($2)
    name = $3
    sub(/#.*/, "", name)
    name = trimmed(name)
    gsub(/_/, " ", name)
    if (length(code) == 2)
        print code "," quoted(name) > (directory "/category.csv")
}

# 0370..03FF; Greek and Coptic
file == 2 && /^[0-9A-F]/ {
    split($1, range, /\.\./)
    blocks++
    last_code[blocks] = number(range[2])
    print blocks "," number(range[1]) "," last_code[blocks] "," quoted(trimmed($2)) > (directory "/block.csv")
}

# 0041;LATIN CAPITAL LETTER A;Lu;... ; both files are in the order of the code points.
file == 3 {
    code = number($1)
    if (block == 0)
        block = 1
    while (code > last_code[block])
        block++
    name = $2 == "<control>" && $11 != "" ? $11 : $2
    print code "," quoted(name) "," $3 "," block > (directory "/glyph.csv")
}
