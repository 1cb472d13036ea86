#pragma once
// Numbers as scene files write them, and back. Floating-point numbers are
// written in the shorter of fixed and scientific notation: with 0 digits
// the shortest text that reads back to exactly the same value of the
// number's own type (float or double), otherwise that many significant
// digits. Parsing accepts what is written, blanks around a number and a
// leading '+'; anything else raises EQelConvertError.
#include <cstdint>
#include <string_view>

#include "qelon/math/qelmath.h"

// Each writes into buf (40 bytes a number suffice) and returns the text.
std::string_view QelIntText(char* buf, int32_t value);
std::string_view QelFloatText(char* buf, double value, int32_t digits);
std::string_view QelFloatText(char* buf, float value, int32_t digits);
// Three numbers joined by ",".
std::string_view QelVectorText(char* buf, double x, double y, double z, int32_t digits);
std::string_view QelVectorText(char* buf, float x, float y, float z, int32_t digits);

void QelParseNumber(std::string_view text, int32_t& value);
void QelParseNumber(std::string_view text, uint8_t& value);
void QelParseNumber(std::string_view text, double& value);
void QelParseNumber(std::string_view text, float& value);
// Three numbers separated by ",".
void QelParseVector(std::string_view text, TQelMathVector& vector);
