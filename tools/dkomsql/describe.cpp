#include "describe.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>

#include "libraries.h"
#include "statement.h"

namespace dkomsql
{

namespace
{

struct TypeName {
    ub2 type;
    std::string_view name;
    bool has_size; // NAME(size)
};

constexpr std::array<TypeName, 20> type_names{{
    {SQLT_CHR, "VARCHAR2", true},
    {SQLT_AFC, "CHAR", true},
    {SQLT_BIN, "RAW", true},
    {SQLT_NUM, "NUMBER", false},
    {SQLT_DAT, "DATE", false},
    {SQLT_LNG, "LONG", false},
    {SQLT_LBI, "LONG RAW", false},
    {SQLT_CLOB, "CLOB", false},
    {SQLT_BLOB, "BLOB", false},
    {SQLT_BFILE, "BFILE", false},
    {SQLT_IBFLOAT, "BINARY_FLOAT", false},
    {SQLT_IBDOUBLE, "BINARY_DOUBLE", false},
    {SQLT_TIMESTAMP, "TIMESTAMP", false},
    {SQLT_TIMESTAMP_TZ, "TIMESTAMP WITH TIME ZONE", false},
    {SQLT_TIMESTAMP_LTZ, "TIMESTAMP WITH LOCAL TIME ZONE", false},
    {SQLT_INTERVAL_YM, "INTERVAL YEAR TO MONTH", false},
    {SQLT_INTERVAL_DS, "INTERVAL DAY TO SECOND", false},
    {SQLT_RDD, "ROWID", false},
    {SQLT_RSET, "CURSOR", false},
    {SQLT_NTY, "OBJECT", false},
}};

std::string number_text(const ColumnDescription &column)
{
    constexpr int no_scale = -127;
    if (column.precision == 0)
        return "NUMBER";
    if (column.scale == no_scale)
        return fmt::format("FLOAT({})", column.precision);
    if (column.scale == 0)
        return fmt::format("NUMBER({})", column.precision);
    return fmt::format("NUMBER({},{})", column.precision, column.scale);
}

/// Reads attributes of one parameter descriptor.
class AttributeReader
{
public:
    AttributeReader(const Session &session, const void *parameter) : session_(session), parameter_(parameter)
    {
    }

    /// `T` is the type that the attribute is published with: the library writes as many bytes.
    template <typename T> T number(ub4 attribute) const
    {
        T value{};
        session_.check(OCIAttrGet(parameter_, OCI_DTYPE_PARAM, &value, nullptr, attribute, session_.error()),
                       "OCIAttrGet");
        return value;
    }

    std::string text(ub4 attribute) const
    {
        OraText *text = nullptr;
        ub4 length = 0;
        session_.check(OCIAttrGet(parameter_, OCI_DTYPE_PARAM, &text, &length, attribute, session_.error()),
                       "OCIAttrGet");
        return text != nullptr ? std::string(reinterpret_cast<const char *>(text), length) : "";
    }

private:
    const Session &session_;
    const void *parameter_;
};

ColumnDescription read_column(const Session &session, const void *parameter)
{
    const AttributeReader reader(session, parameter);
    ColumnDescription column;
    column.name = reader.text(OCI_ATTR_NAME);
    column.type = reader.number<ub2>(OCI_ATTR_DATA_TYPE);
    column.size = reader.number<ub2>(OCI_ATTR_DATA_SIZE);
    column.precision = reader.number<sb2>(OCI_ATTR_PRECISION);
    column.scale = int{reader.number<sb1>(OCI_ATTR_SCALE)}; // may be negative
    column.nullable = reader.number<ub1>(OCI_ATTR_IS_NULL) != 0;
    column.form = reader.number<ub1>(OCI_ATTR_CHARSET_FORM);
    column.in_characters = reader.number<ub1>(OCI_ATTR_CHAR_USED) != 0;
    column.characters = reader.number<ub2>(OCI_ATTR_CHAR_SIZE);
    return column;
}

/// Whether the name is that of a table or of a view. Throws when it is neither.
std::string kind_of(const Session &session, std::string name)
{
    const Handle<OCIDescribe, OCI_HTYPE_DESCRIBE> description(session.environment());
    session.check(OCIDescribeAny(session.service(), session.error(), name.data(),
                                 static_cast<ub4>(name.size()), OCI_OTYPE_NAME, OCI_DEFAULT, OCI_PTYPE_UNK,
                                 description.get()),
                  "OCIDescribeAny");
    void *parameter = nullptr; // belongs to the handle, and goes with it
    session.check(OCIAttrGet(description.get(), OCI_HTYPE_DESCRIBE, &parameter, nullptr, OCI_ATTR_PARAM,
                             session.error()),
                  "OCIAttrGet");
    const ub1 kind = AttributeReader(session, parameter).number<ub1>(OCI_ATTR_PTYPE);
    return kind == OCI_PTYPE_VIEW ? "View" : "Table";
}

} // namespace

bool ColumnDescription::is_time() const
{
    constexpr std::array<ub2, 6> times{SQLT_DAT,           SQLT_TIMESTAMP,   SQLT_TIMESTAMP_TZ,
                                       SQLT_TIMESTAMP_LTZ, SQLT_INTERVAL_YM, SQLT_INTERVAL_DS};
    return std::find(times.begin(), times.end(), type) != times.end();
}

std::string type_text(const ColumnDescription &column)
{
    if (column.type == SQLT_NUM)
        return number_text(column);
    const auto *const known = std::find_if(type_names.begin(), type_names.end(),
                                           [&](const TypeName &t) { return t.type == column.type; });
    if (known == type_names.end())
        return fmt::format("type {}", column.type);
    const bool is_national = column.form == SQLCS_NCHAR;
    std::string text = (is_national ? "N" : "") + std::string(known->name);
    if (!known->has_size || column.size == 0)
        return text;
    if (is_national)
        return text + fmt::format("({})", column.characters);
    if (column.in_characters)
        return text + fmt::format("({} CHAR)", column.characters);
    return text + fmt::format("({})", column.size);
}

bool can_describe(const Session &session)
{
    return is_extended() || session.backend() == Backend::oracle;
}

std::vector<ColumnDescription> describe_columns(const Session &session, OCIStmt *statement, std::size_t count)
{
    std::vector<ColumnDescription> columns;
    for (std::size_t position = 1; position <= count; position++) {
        void *parameter = nullptr; // a descriptor in it would be taken as one to fill in again
        session.check(
            OCIParamGet(statement, OCI_HTYPE_STMT, session.error(), &parameter, static_cast<ub4>(position)),
            "OCIParamGet");
        const Descriptor<OCIParam, OCI_DTYPE_PARAM> owner(static_cast<OCIParam *>(parameter));
        columns.push_back(read_column(session, parameter));
    }
    return columns;
}

/// The list of columns that a describe handle leads to is not known to the exact edition, and so cannot be
/// followed through it: a query of all columns, which is not run, has them too.
ObjectDescription describe_object(const Session &session, const std::string &name)
{
    ObjectDescription object{kind_of(session, name), {}};
    Statement query(session, fmt::format("SELECT * FROM {}", name));
    object.columns = query.describe();
    return object;
}

} // namespace dkomsql
