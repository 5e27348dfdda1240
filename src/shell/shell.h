// The command shell, the top layer: main loop, command table, HELP, EXPERT,
// DATE, EXIT, the output front ends, OPTIONS, start-up and RESET, and the
// hooks it installs in the layers below. Uses every other layer.
#pragma once

#include "conio/iosubs.h"

struct command {
    const char *name;
    void (*action_routine)();
    char reported;
    char expert;
};

extern const command commands[];

struct ShellState {
    char exit_flag = 0;
    char expert_mode = 0;
};
extern ShellState shell;

int do_main(const char *version, const char *prompt);
bool do_command_table(const char *word);
char *cmnd_word(const char *text);

void do_null();
void do_question();
void do_help();
void do_setdate();
void do_setexpert();
void do_clearexpert();
void do_exit();
void do_type();
void do_print();
void do_write();
void do_options();

// varnok --new-club DIR: makes DIR a club ready for its first prices,
// customers and flights; refuses a folder that already holds one. Returns
// the program's exit status.
int new_club(const char *dir);

// Start-up and RESET: every layer back to its start-up state, nothing read.
void do_init();
