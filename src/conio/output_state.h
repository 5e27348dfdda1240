// Private to the console I/O library: lets conio_reset() put the output
// formatter back into its start-up state.
#pragma once

// Makes standard output current, empties the pending line, sets the line
// count to 1 and switches tab filling and carriage returns off. Files still
// open through open_o_file are abandoned: a file being written safely keeps
// its old contents, a print job is closed.
void output_reset();
