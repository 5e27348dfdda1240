// Reports and exports: output selection and the report writers.
#pragma once

#include <cstdio>

struct customer;

void w_choose();
void w_mbr(const customer *c, bool full, FILE *file);
void w_mbr_flags(const customer *c);
