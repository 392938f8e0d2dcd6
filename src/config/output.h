#pragma once

#include "config/dictionary.h"

/*
 * Outputs of a dictionary to standard output. Each returns 0, or -1 for a null dictionary.
 */

/** The INI text. */
int configPrint(const ConfigDictionary* d);

/**
 * One line for each setting that differs, in the order of the dictionaries: "- key [old:]" for one that is
 * missing in `newer`, "c key [old:new]" for one that has another value, then "+ key [:new]" for each new one.
 */
int configDiff(const ConfigDictionary* older, const ConfigDictionary* newer);

/** An object of sections, each an object of texts. Names and values are printed as they are, without
 * escaping. */
int configPrintJson(const ConfigDictionary* d);

/** A sed script that puts the value of each setting in the place of its key between dollar signs. */
int configPrintSed(const ConfigDictionary* d);
