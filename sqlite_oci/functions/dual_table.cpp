#include "functions/dual_table.h"

#include "values/date.h"

#include <memory>

namespace sqlite_oci
{
namespace
{

void return_text(sqlite3_context *context, std::string_view text)
{
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

enum dual_column : int { dummy_column, sysdate_column, user_column };

struct dual_table {
    sqlite3_vtab base{};
    const std::string *user = nullptr;
};

struct dual_cursor {
    sqlite3_vtab_cursor base{};
    bool is_past = false;
};

int dual_connect(sqlite3 *db, void *user, int, const char *const *, sqlite3_vtab **made, char **)
{
    const int code = sqlite3_declare_vtab(db, "CREATE TABLE dual(dummy VARCHAR2(1), sysdate HIDDEN DATE, "
                                              "user HIDDEN VARCHAR2(128))");
    if (code != SQLITE_OK)
        return code;
    auto table = std::make_unique<dual_table>();
    table->user = static_cast<const std::string *>(user);
    *made = &table.release()->base;
    return SQLITE_OK;
}

int dual_disconnect(sqlite3_vtab *table)
{
    delete reinterpret_cast<dual_table *>(table);
    return SQLITE_OK;
}

int dual_best_index(sqlite3_vtab *, sqlite3_index_info *plan)
{
    plan->estimatedCost = 1;
    plan->estimatedRows = 1;
    return SQLITE_OK;
}

int dual_open(sqlite3_vtab *, sqlite3_vtab_cursor **made)
{
    *made = &std::make_unique<dual_cursor>().release()->base;
    return SQLITE_OK;
}

int dual_close(sqlite3_vtab_cursor *cursor)
{
    delete reinterpret_cast<dual_cursor *>(cursor);
    return SQLITE_OK;
}

int dual_filter(sqlite3_vtab_cursor *cursor, int, const char *, int, sqlite3_value **)
{
    reinterpret_cast<dual_cursor *>(cursor)->is_past = false;
    return SQLITE_OK;
}

int dual_next(sqlite3_vtab_cursor *cursor)
{
    reinterpret_cast<dual_cursor *>(cursor)->is_past = true;
    return SQLITE_OK;
}

int dual_eof(sqlite3_vtab_cursor *cursor)
{
    return reinterpret_cast<dual_cursor *>(cursor)->is_past;
}

int dual_value(sqlite3_vtab_cursor *cursor, sqlite3_context *context, int column)
{
    if (column == dummy_column)
        return_text(context, "X");
    else if (column == sysdate_column)
        return_text(context, date_to_iso(date_now()));
    else if (column == user_column)
        return_text(context, *reinterpret_cast<dual_table *>(cursor->pVtab)->user);
    return SQLITE_OK;
}

int dual_row_id(sqlite3_vtab_cursor *, sqlite3_int64 *id)
{
    *id = 1;
    return SQLITE_OK;
}

const sqlite3_module dual_module = {
    .iVersion = 0,
    .xCreate = nullptr, // the table is there without being created
    .xConnect = dual_connect,
    .xBestIndex = dual_best_index,
    .xDisconnect = dual_disconnect,
    .xDestroy = dual_disconnect,
    .xOpen = dual_open,
    .xClose = dual_close,
    .xFilter = dual_filter,
    .xNext = dual_next,
    .xEof = dual_eof,
    .xColumn = dual_value,
    .xRowid = dual_row_id,
    .xUpdate = nullptr,
    .xBegin = nullptr,
    .xSync = nullptr,
    .xCommit = nullptr,
    .xRollback = nullptr,
    .xFindFunction = nullptr,
    .xRename = nullptr,
    .xSavepoint = nullptr,
    .xRelease = nullptr,
    .xRollbackTo = nullptr,
    .xShadowName = nullptr,
};

} // namespace

int add_dual(sqlite3 *db, const std::string &user)
{
    return sqlite3_create_module_v2(db, "dual", &dual_module, const_cast<std::string *>(&user), nullptr);
}

} // namespace sqlite_oci
