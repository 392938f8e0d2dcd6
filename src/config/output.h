#pragma once

#include "config/dictionary.h"

/*
 * These functions print dictionaries to standard output. Each returns 0, or -1 for a null dictionary.
 */

/** Prints the INI text. */
int configPrint(const ConfigDictionary* d);

/**
 * Prints one line for each setting that differs. First, in the order of `older`: "- key [old:]" if it is
 * missing in `newer`, "c key [old:new]" if its value differs. Then, in the order of `newer`: "+ key [:new]"
 * if it is missing in `older`.
 */
int configDiff(const ConfigDictionary* older, const ConfigDictionary* newer);

/** Prints a JSON object of sections, each an object of strings. Names and values are not escaped. */
int configPrintJson(const ConfigDictionary* d);

/** Prints a sed script that replaces "$section:key$" by the value of that setting. Nothing is escaped. */
int configPrintSed(const ConfigDictionary* d);
