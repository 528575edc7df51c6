#include "ReverseDomain.h"

namespace ferrolt {

const std::string_view reverseDomain = FERROLT_REVERSE_DOMAIN;

}  // namespace ferrolt
