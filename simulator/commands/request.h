// Reads the members of a request and writes numbers into replies. Values travel as integers in thousandths
// (positions of poses in millionths); whatever does not fit is refused with a text that says what was
// expected, and so is the number that stands for one that is not finite.
#pragma once

#include <string>
#include <vector>

#include "arm/model.h"
#include "commands/json.h"

namespace kx::sim {

/** @throws Refused if it is missing */
const Json& member(const Json& request, const char* key);

/** A whole number within [low, high]. @throws Refused otherwise */
int integer(const Json& value, const char* what, int low, int high);

/** A number within [low, high]. @throws Refused otherwise */
double number(const Json& value, const char* what, double low, double high);

/** A text. @throws Refused if it is none */
const std::string& text(const Json& value);

/** @throws Refused if it is neither true nor false */
bool flag(const Json& value);

/** A number of thousandths, divided by 1000. @throws Refused if it is not a number */
double from_thousandths(const Json& value);

/** An array of exactly `count` numbers, none beyond 32 bits. @throws Refused otherwise */
std::vector<double> numbers(const Json& array, std::size_t count);

/** The same of thousandths, divided by 1000. */
std::vector<double> from_thousandths(const Json& array, std::size_t count);

Json thousandths(const std::vector<double>& values);

/** Where a reply says that the joints are, degrees; empty if it is about something else. */
std::vector<double> joints_told_by(const Json& reply);

/** An array of six numbers: micrometres, then thousandths of a radian. @throws Refused otherwise */
POSE pose_from(const Json& array);

/** A pose as six integers: micrometres, then thousandths of a radian. */
Json pose_of(const POSE& pose);

} // namespace kx::sim
