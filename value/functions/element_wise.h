// Element-wise functions whose code is apart from the table of their entries.
#pragma once

#include "evaluate/function.h"

namespace qvo::value {

// functions/text.cpp
Series like(Plan& plan, Arguments& arguments);

// functions/calendar.cpp
Series year(Plan& plan, Arguments& arguments);
Series month(Plan& plan, Arguments& arguments);
Series day(Plan& plan, Arguments& arguments);
Series hour(Plan& plan, Arguments& arguments);
Series minute(Plan& plan, Arguments& arguments);
Series second(Plan& plan, Arguments& arguments);
Series weekday(Plan& plan, Arguments& arguments);
Series floor_time(Plan& plan, Arguments& arguments);

}  // namespace qvo::value
