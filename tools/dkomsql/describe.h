#ifndef DKOMSQL_DESCRIBE_H
#define DKOMSQL_DESCRIBE_H

#include <cstddef>
#include <string>
#include <vector>

#include "session.h"

namespace dkomsql
{

/// A column of a query as the database describes it.
struct ColumnDescription {
    std::string name;
    ub2 type = 0; ///< SQLT_CHR, SQLT_NUM ...
    ub4 size = 0; ///< bytes
    int precision = 0;
    int scale = 0;
    bool nullable = true;
    bool in_characters = false; ///< `characters` is the declared size
    ub4 characters = 0;         ///< size in characters
    ub1 form = SQLCS_IMPLICIT;  ///< SQLCS_NCHAR: of the national character set

    bool is_number() const
    {
        return type == SQLT_NUM || type == SQLT_IBFLOAT || type == SQLT_IBDOUBLE || type == SQLT_FLT;
    }
    bool is_time() const; ///< a date, a time or an interval
    bool is_long() const { return type == SQLT_LNG || type == SQLT_LBI; }
    bool is_binary() const { return type == SQLT_BIN || type == SQLT_LBI || type == SQLT_BLOB; }
    bool is_text_lob() const { return type == SQLT_CLOB; }
    bool is_lob() const { return type == SQLT_CLOB || type == SQLT_BLOB; }
};

/// The type as CREATE TABLE spells it: `NUMBER(12,2)`, `VARCHAR2(20)`.
std::string type_text(const ColumnDescription &column);

/// True when the connection describes columns and hands out LOB locators: always through the extended
/// edition, and through the exact one when the Oracle library serves the connection.
bool can_describe(const Session &session);

/// The columns of an executed query. Throws OciError, here as in all functions that call the database.
std::vector<ColumnDescription> describe_columns(const Session &session, OCIStmt *statement,
                                                std::size_t count);

/// A table or view.
struct ObjectDescription {
    std::string kind; ///< "Table" or "View"
    std::vector<ColumnDescription> columns;
};

/// Describes a table or view by its name, as it stands in SQL. Only for a connection of which can_describe()
/// is true: on any other one the exact edition ends the process.
ObjectDescription describe_object(const Session &session, const std::string &name);

} // namespace dkomsql

#endif
