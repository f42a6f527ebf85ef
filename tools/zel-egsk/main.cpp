// main.cpp: zel-egsk, the provisioning tool for the white-box store key.
//
//   zel-egsk wrap   --seed FILE --in RAW --out PROTECTED
//   zel-egsk unwrap --seed FILE --in PROTECTED --out RAW
//   zel-egsk new    --out-dir DIR [--key-bits 128|256]
//
// wrap turns a raw AES key (16 or 32 bytes) into the protected form that
// the white-box core's key setups take under the tables of that seed;
// unwrap is the inverse. new makes a product's key set from the kernel's
// random source: DIR/wb_seed.bin (the seed), DIR/egsk.bin (a fresh store
// key, protected; its raw form is never written) and DIR/uid.bin (a 16-byte
// IV). No command overwrites an existing file.
//
// A host tool, never part of the library. Key buffers are wiped before exit.
// Constant time: no (host tool; the protection maps are indexed by key
// bytes).
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "aes_reference.h"
#include "key_files.h"
#include "key_protection.h"
#include "seed_file.h"

namespace {

constexpr char kUsage[] =
    "usage: zel-egsk wrap   --seed FILE --in RAW --out PROTECTED\n"
    "       zel-egsk unwrap --seed FILE --in PROTECTED --out RAW\n"
    "       zel-egsk new    --out-dir DIR [--key-bits 128|256]\n";

using Options = std::map<std::string, std::string>;

bool parse_options(int argc, char** argv, Options& options) {
  for (int i = 2; i < argc; i += 2) {
    if (i + 1 >= argc || std::strncmp(argv[i], "--", 2) != 0) return false;
    options[argv[i] + 2] = argv[i + 1];
  }
  return true;
}

bool has_exactly(const Options& options,
                 std::initializer_list<const char*> required,
                 std::initializer_list<const char*> optional = {}) {
  std::size_t seen = 0;
  for (const char* name : required) {
    if (options.count(name) == 0) return false;
    ++seen;
  }
  for (const char* name : optional) seen += options.count(name);
  return seen == options.size();
}

int fail(const std::string& message) {
  std::fprintf(stderr, "zel-egsk: %s\n", message.c_str());
  return 1;
}

// convert runs wrap (|protect|) or unwrap.
int convert(const Options& options, bool protect) {
  zel_wbgen::Seed seed;
  std::string error;
  if (!zel_wbgen::read_seed_file(options.at("seed"), seed, error))
    return fail(error);
  uint8_t in[32], out[32];
  const std::size_t size =
      zel_egsk::read_key_file(options.at("in"), in, 16, 32, error);
  int status = 0;
  if (size != 16 && size != 32) {
    status = fail(error.empty() ? "a key has 16 or 32 bytes" : error);
  } else {
    if (protect)
      zel_wbgen::protect_key(seed.bytes, in, static_cast<unsigned>(size), out);
    else
      zel_wbgen::unprotect_key(seed.bytes, in, static_cast<unsigned>(size),
                               out);
    if (!zel_egsk::write_new_file(options.at("out"), out, size, error))
      status = fail(error);
  }
  zel_ref::secure_wipe(in, sizeof in);
  zel_ref::secure_wipe(out, sizeof out);
  return status;
}

int make_new(const Options& options) {
  const std::string bits =
      options.count("key-bits") ? options.at("key-bits") : "128";
  if (bits != "128" && bits != "256") return fail("--key-bits is 128 or 256");
  const unsigned key_len = bits == "128" ? 16 : 32;
  const std::string dir = options.at("out-dir");
  zel_wbgen::Seed seed;
  uint8_t raw[32], protected_key[32], iv[16];
  std::string error;
  bool ok = zel_egsk::random_bytes(seed.bytes, sizeof seed.bytes, error) &&
            zel_egsk::random_bytes(raw, key_len, error) &&
            zel_egsk::random_bytes(iv, sizeof iv, error);
  if (ok) {
    zel_wbgen::protect_key(seed.bytes, raw, key_len, protected_key);
    ok = zel_egsk::write_new_file(dir + "/wb_seed.bin", seed.bytes,
                                  sizeof seed.bytes, error) &&
         zel_egsk::write_new_file(dir + "/egsk.bin", protected_key, key_len,
                                  error) &&
         zel_egsk::write_new_file(dir + "/uid.bin", iv, sizeof iv, error);
  }
  zel_ref::secure_wipe(raw, sizeof raw);
  zel_ref::secure_wipe(protected_key, sizeof protected_key);
  return ok ? 0 : fail(error);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (argc < 2 || !parse_options(argc, argv, options)) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const std::string command = argv[1];
  if ((command == "wrap" || command == "unwrap") &&
      has_exactly(options, {"seed", "in", "out"}))
    return convert(options, command == "wrap");
  if (command == "new" && has_exactly(options, {"out-dir"}, {"key-bits"}))
    return make_new(options);
  std::fputs(kUsage, stderr);
  return 2;
}
