#ifndef DEVICE_SIM_REPORT_H
#define DEVICE_SIM_REPORT_H

#include <string>

#include "device_sim/receiver.h"
#include "device_sim/transmitter.h"

/// Tables for people.
std::string toText(SentCounts const& sent, ReceivedReport const& received);

/// One line for programs.
std::string toJson(SentCounts const& sent, ReceivedReport const& received);

#endif
