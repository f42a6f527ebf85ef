// main.cpp: zel-egsk, the provisioning tool for the white-box store key.
//
//   zel-egsk new        --out-dir DIR [--key-bits 128|256]
//   zel-egsk wrap       --seed FILE --in RAW --out PROTECTED
//   zel-egsk unwrap     --seed FILE --in PROTECTED --out RAW
//   zel-egsk check      --seed FILE --in PROTECTED [--check FILE]
//   zel-egsk make-check --seed FILE --in PROTECTED [--check FILE]
//
// wrap turns a raw AES key (16 or 32 bytes) into the protected form that
// the white-box core's key setups take under the tables of that seed;
// unwrap is the inverse. new makes a product's key set from the kernel's
// random source: DIR/wb_seed.bin (the seed), DIR/egsk.bin (a fresh store
// key, protected; its raw form is never written) and DIR/uid.bin (a 16-byte
// IV). new and wrap write the protected key's check value beside it
// (PROTECTED.check, check_value.h); check verifies that a protected key
// belongs to a seed (the build runs it), make-check writes the check value
// of a key made without one. No command overwrites an existing file.
//
// Exit status: 0 done, 1 failed (a check that does not match), 2 usage.
//
// A host tool, never part of the library. Key buffers are wiped before exit.
// Constant time: no (host tool; the protection maps are indexed by key
// bytes).
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include <unistd.h>

#include "aes_reference.h"
#include "check_value.h"
#include "key_files.h"
#include "key_protection.h"
#include "seed_file.h"

namespace {

constexpr char kUsage[] =
    "usage: zel-egsk new        --out-dir DIR [--key-bits 128|256]\n"
    "       zel-egsk wrap       --seed FILE --in RAW --out PROTECTED\n"
    "       zel-egsk unwrap     --seed FILE --in PROTECTED --out RAW\n"
    "       zel-egsk check      --seed FILE --in PROTECTED [--check FILE]\n"
    "       zel-egsk make-check --seed FILE --in PROTECTED [--check FILE]\n"
    "       zel-egsk --help\n";

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

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

bool write_text(const std::string& path, const std::string& text,
                std::string& error) {
  return zel_egsk::write_new_file(
      path, reinterpret_cast<const uint8_t*>(text.data()), text.size(), error);
}

// convert runs wrap (|protect|) or unwrap. wrap writes OUT.check too, and
// leaves no key without one.
int convert(const Options& options, bool protect) {
  zel_wbgen::Seed seed;
  std::string error;
  if (!zel_wbgen::read_seed_file(options.at("seed"), seed, error))
    return fail(error);
  const std::string out_path = options.at("out"), check_path = out_path + ".check";
  if (protect && exists(check_path))
    return fail("cannot create " + check_path + ": it exists");
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
    if (!zel_egsk::write_new_file(out_path, out, size, error)) {
      status = fail(error);
    } else if (protect &&
               !write_text(check_path,
                           zel_egsk::check_line(in, static_cast<unsigned>(size)),
                           error)) {
      ::unlink(out_path.c_str());
      status = fail(error);
    }
  }
  zel_ref::secure_wipe(in, sizeof in);
  zel_ref::secure_wipe(out, sizeof out);
  return status;
}

int make_new(const Options& options) {
  const std::string bits =
      options.count("key-bits") ? options.at("key-bits") : "128";
  if (bits != "128" && bits != "256") {
    fail("--key-bits is 128 or 256");
    return 2;  // a usage error
  }
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
         write_text(dir + "/egsk.bin.check",
                    zel_egsk::check_line(raw, key_len), error) &&
         zel_egsk::write_new_file(dir + "/uid.bin", iv, sizeof iv, error);
  }
  zel_ref::secure_wipe(raw, sizeof raw);
  zel_ref::secure_wipe(protected_key, sizeof protected_key);
  return ok ? 0 : fail(error);
}

// check_key compares the check value of PROTECTED under the seed with its
// check file (|make|: writes the check file instead).
int check_key(const Options& options, bool make) {
  zel_wbgen::Seed seed;
  std::string error;
  if (!zel_wbgen::read_seed_file(options.at("seed"), seed, error))
    return fail(error);
  const std::string key_path = options.at("in");
  const std::string check_path =
      options.count("check") ? options.at("check") : key_path + ".check";
  uint8_t key[32];
  const std::size_t size = zel_egsk::read_key_file(key_path, key, 16, 32, error);
  const bool usable = size == 16 || size == 32;
  const std::string line =
      usable ? zel_egsk::check_line_of_protected(seed.bytes, key,
                                                 static_cast<unsigned>(size))
             : "";
  zel_ref::secure_wipe(key, sizeof key);
  if (!usable)
    return fail(error.empty() ? key_path + ": a key has 16 or 32 bytes" : error);
  if (make) {
    if (!write_text(check_path, line, error)) return fail(error);
    std::fputs(line.c_str(), stdout);
    return 0;
  }
  uint8_t text[64];
  const std::size_t got = zel_egsk::read_key_file(check_path, text, 1, sizeof text, error);
  if (got == 0)
    return fail("no check value for " + key_path + " (" + error +
                "); zel-egsk new and wrap write one, make-check makes one "
                "for a key known to belong to the seed");
  if (std::string(reinterpret_cast<const char*>(text), got) != line)
    return fail(key_path + " does not belong to the seed " + options.at("seed") +
                ": its check value " + check_path +
                " was made with another seed or key");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kUsage, stdout);
    return 0;
  }
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
  if ((command == "check" || command == "make-check") &&
      has_exactly(options, {"seed", "in"}, {"check"}))
    return check_key(options, command == "make-check");
  std::fputs(kUsage, stderr);
  return 2;
}
