#ifndef TRACE_READER_SQL_TEXT_H
#define TRACE_READER_SQL_TEXT_H

#include <functional>
#include <string>
#include <string_view>

namespace trace_reader
{

/// Replaces whatever may be data or a secret in a SQL text: literals by '***' and 0, words of comments by
/// ***, passwords behind IDENTIFIED BY and names of users by ***. Keywords, names, placeholders, hints and
/// the lengths of types stay; so do line ends, those inside a literal too. Masking a masked text changes
/// nothing.
///
/// @param rename  if given, names and placeholders are replaced by what it returns for them, and hints masked
std::string mask_sql(std::string_view sql,
                     const std::function<std::string(std::string_view)> &rename = nullptr);

/// What statements have in common that differ in their literals only: literals are `?`, comments are left out
/// and blanks and line ends are one blank each. The shape of a masked text is that of the text.
std::string sql_shape(std::string_view sql);

} // namespace trace_reader

#endif
