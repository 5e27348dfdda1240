// The columns of IMPORT's CSV file: the fields of a day sheet line, each
// known by its name and the names launch logs and spreadsheets give it.
#pragma once

#include <string>
#include <vector>

enum ImportColumn {
    COL_DATE,
    COL_NUMBER,
    COL_ACCOUNT,
    COL_AIRCRAFT,
    COL_TYPE,
    COL_PILOT,
    COL_PASSENGER,
    COL_INSTRUCTOR,
    COL_TOWPILOT,
    COL_TOWPLANE,
    COL_TOWHEIGHT,
    COL_TAKEOFF,
    COL_LANDING,
    COL_COUNT
};

// Where each column stands in a row (-1: not in the file), from the header.
struct ColumnMap {
    int at[COL_COUNT];
    // The row's text of a column, "" when the file has no such column.
    const std::string &of(const std::vector<std::string> &row, ImportColumn c) const;
};

// Reads the header; false with the reason printed when a name is unknown,
// repeated, or a column that every flight needs is missing.
bool map_columns(const std::vector<std::string> &header, ColumnMap &map);
// "IMPORT ?": the names accepted for each column.
void print_column_names();
