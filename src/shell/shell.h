// The command shell: main loop, command table, HELP, EXPERT, DATE, EXIT,
// the output front ends and OPTIONS.
#pragma once

struct command {
    const char *name;
    void (*action_routine)();
    char reported;
    char expert;
};

extern const command commands[];
extern const char *const program_name;
extern const char *const program_version;

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

void log_error(const char *format, ...) __attribute__((format(printf, 1, 2)));
