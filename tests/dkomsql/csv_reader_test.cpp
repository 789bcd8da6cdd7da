#include "csv_reader.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace dkomsql
{
namespace
{

/// Records in one text: line number, then the fields in brackets, `-` for an empty field without quotes,
/// `!` for a malformed record, `blank` for an empty line.
std::string read_all(const std::string &csv, char delimiter = ',')
{
    std::istringstream in(csv);
    CsvReader reader(in, delimiter);
    std::string result;
    while (const auto record = reader.next()) {
        result += std::to_string(record->line) + ":";
        if (!record->error.empty())
            result += "!";
        else if (record->blank)
            result += "blank";
        else
            for (const auto &field : record->fields)
                result += field ? "[" + *field + "]" : "-";
        result += " ";
    }
    EXPECT_EQ(reader.bytes_read(), csv.size());
    return result;
}

TEST(csv_reader, records_fields_and_lines)
{
    const std::tuple<const char *, std::string, std::string> cases[] = {
        {"empty file", "", ""},
        {"plain", "a,b\n1,2\n", "1:[a][b] 2:[1][2] "},
        {"no line feed at the end", "a,b\n1,2", "1:[a][b] 2:[1][2] "},
        {"CR LF", "a,b\r\n1,2\r\n", "1:[a][b] 2:[1][2] "},
        {"NULL and empty", ",\"\",x,\n", "1:-[][x]- "},
        {"quotes", "\"a,b\",\"say \"\"hi\"\"\"\n", "1:[a,b][say \"hi\"] "},
        {"line feeds in quotes", "\"a\nb\n\",1\nc,2\n", "1:[a\nb\n][1] 4:[c][2] "},
        {"an empty line in quotes", "\"a\n\nb\"\nc\n", "1:[a\n\nb] 4:[c] "},
        {"blanks are kept", " a , b\n", "1:[ a ][ b] "},
        {"empty lines", "a\n\nb\n\r\n", "1:[a] 2:blank 3:[b] 4:blank "},
        {"byte order mark",
         "\xEF\xBB\xBF"
         "a,b\n",
         "1:[a][b] "},
        {"goes on after a bad quote", "a,b\n\"x\"y,2\nc,d\n", "1:[a][b] 2:! 3:[c][d] "},
        {"quote never closed", "a\n\"b,\nc\n", "1:[a] 2:! "},
        {"bare CR ends a record", "a\rb\n", "1:[a] 1:[b] "},
    };
    for (const auto &[what, csv, records] : cases)
        EXPECT_EQ(read_all(csv), records) << what;
    EXPECT_EQ(read_all("a\tb,c\t\n", '\t'), "1:[a][b,c]- ");
}

} // namespace
} // namespace dkomsql
