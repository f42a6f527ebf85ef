// persistent_faults.cpp: placeholder, filled below.
#include "attacks.h"
namespace zel_audit {
std::vector<Outcome> run_pfa(Target&, const Settings&, const std::vector<uint8_t>&) { return {}; }
}
