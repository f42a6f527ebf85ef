// swtpm_fixture.h: a software TPM (swtpm) for the tests of the TPM device
// value, on a unix socket in a temporary directory, and tpm2-tools run
// against it.
#ifndef ZEL_TESTS_BINDING_TPM2_SWTPM_FIXTURE_H
#define ZEL_TESTS_BINDING_TPM2_SWTPM_FIXTURE_H

#include <sys/types.h>

#include <string>
#include <vector>

// Swtpm owns a directory /tmp/zt-XXXXXX (AF_UNIX socket paths must stay
// short) with the TPM's state; one Swtpm is one TPM, with its own seeds.
// The directory is removed on destruction, after swtpm is stopped.
class Swtpm {
 public:
  Swtpm();
  ~Swtpm();
  Swtpm(const Swtpm&) = delete;
  Swtpm& operator=(const Swtpm&) = delete;

  // Missing names what of swtpm, tpm2-tools and (for this process's
  // architecture) libtss2-esys is not installed, or "".
  static std::string Missing();

  // Start runs swtpm on this TPM's state, waits until its sockets accept
  // connections and points ZEL_TPM2_TCTI at it; false if it does not come
  // up within 10 s.
  bool Start();
  // Stop ends swtpm by its pid (SIGTERM, then waits for it); the state
  // stays.
  void Stop();

  // Tcti is the TCTI configuration that reaches this swtpm.
  std::string Tcti() const { return "swtpm:path=" + dir_ + "/s"; }
  const std::string& dir() const { return dir_; }

  // Tool runs "|command| -T <tcti> |arguments|" (a tpm2-tools command) and
  // returns its standard output, or "<failed: ...>" when it exits non-zero.
  std::string Tool(const std::string& command, const std::string& arguments = "") const;
  // Messages: every command and response that crossed the socket so far,
  // each in upper-case hex, from swtpm's log.
  std::vector<std::string> Messages() const;
  // HeldHandles lists the transient objects and the sessions the TPM holds
  // ("" when none).
  std::string HeldHandles() const;

 private:
  std::string dir_;
  pid_t pid_ = -1;
};

#endif  // ZEL_TESTS_BINDING_TPM2_SWTPM_FIXTURE_H
