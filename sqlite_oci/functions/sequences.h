// Sequences: rows of a table of this library in the database.
#pragma once

#include <cstdint>
#include <string>

#include <sqlite3.h>

namespace sqlite_oci
{

struct session_settings;

// --- SQL for definitions. Numbers are in decimal; empty ones are not given. Codes are 0 or ORA- numbers.

std::string create_sequences_table();
int insert_sequence_sql(const std::string &name, const std::string &start, const std::string &increment,
                        const std::string &minimum, const std::string &maximum, bool cycles,
                        std::string *sql);
int alter_sequence_sql(const std::string &name, const std::string &increment, const std::string &minimum,
                       const std::string &maximum, int cycles, std::string *sql);
std::string drop_sequence_sql(const std::string &name);

// The sequence behind an identity column, and those of a table that is dropped.
std::string identity_sequence(const std::string &table, const std::string &column);
std::string drop_identities_sql(const std::string &table);

bool has_sequences(sqlite3 *db);
bool has_sequence(sqlite3 *db, const std::string &name);

// --- Numbers

// The next number of a sequence, and the last one that this session got. Return 0 or an ORA- number.
int next_value(sqlite3 *db, session_settings &settings, const std::string &name, std::int64_t *number);
int current_value(const session_settings &settings, const std::string &name, std::int64_t *number);

// A rollback takes numbers back in the database that the session has already seen: they are not to be given
// again. Returns SQL that says so, empty if there is nothing to do.
std::string keep_values_sql(const session_settings &settings);

} // namespace sqlite_oci
