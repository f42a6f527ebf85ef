#include "attacks.h"
namespace zel_audit {
std::vector<Outcome> run_sifa(Target&, const Settings&, const std::vector<uint8_t>&) { return {}; }
}
