#pragma once

#include <string>

// A size in bytes as text for people, such as "1.4 GiB".
std::string readableSize(double bytes);

// A duration in seconds as text for people, such as "2 h 5 min".
std::string readableTime(double seconds);
