// vu encipher and vu decipher: a whole file each way.

#include <unistd.h>

#include <climits>
#include <memory>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/input.h"
#include "tools/messages.h"
#include "tools/options.h"
#include "tools/output.h"
#include "vu/crypto.h"

namespace vu::tool {
namespace {

constexpr int kDecipher = 0;
constexpr int kEncipher = 1;

struct CipherOptions {
  int mode;
  int cipher = 0;
  std::string passphraseFile;
  std::string salt;
  int iterations = 100000;
  bool force = false;
  bool info = false;
  std::string in = "-";
  std::string out = "-";
};

const unsigned char* bytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

/// The first line of a file: what follows it may be a remark.
std::string readPassphrase(const std::string& path) {
  std::string passphrase = readFirstLine(path);
  if (passphrase.empty()) throw Refusal("the pass phrase in " + displayName(path) + " is empty");
  if (passphrase.find('\0') != std::string::npos) {
    throw Refusal("the pass phrase in " + displayName(path) + " has a NUL byte in it");
  }
  return passphrase;
}

std::unique_ptr<vu_crypto> makeEngine(const CipherOptions& options) {
  const bool given = !options.passphraseFile.empty();
  if (!given) {
    say("note: without --passphrase-file the key is made from a pass phrase that is the same "
        "everywhere");
  }
  const std::string passphrase = given ? readPassphrase(options.passphraseFile) : "";
  const std::string salt = fromHex(options.salt);
  auto engine = std::make_unique<vu_crypto>(
      options.mode, options.cipher, given ? passphrase.c_str() : nullptr,
      salt.empty() ? nullptr : bytes(salt), static_cast<int>(salt.size()), options.iterations);
  if (!vu_crypto::hasKey()) throw Refusal("OpenSSL cannot derive a key here");
  return engine;
}

/// What the engine makes of a whole text.
std::string transform(vu_crypto& engine, const CipherOptions& options, const std::string& text) {
  if (text.size() > INT_MAX - 32) {
    throw Refusal(displayName(options.in) +
                  " is too large: a message has at most 2147483615 bytes");
  }
  const int length = static_cast<int>(text.size());
  const int capacity = engine.ciphersize(length);
  std::string result(static_cast<std::size_t>(capacity), '\0');
  try {
    const int written = engine.cipheranalyse(
        bytes(text), length, reinterpret_cast<unsigned char*>(result.data()), capacity);
    result.resize(static_cast<std::size_t>(written));
  } catch (const vu_exception& failure) {
    const std::string what = failure.what();
    if (options.mode == kDecipher && what.rfind("Cipher Final", 0) == 0) {
      throw Refusal(displayName(options.in) + " cannot be deciphered (" +
                    what.substr(what.rfind(':') + 1) +
                    "); are pass phrase, salt, iterations and cipher those that it was enciphered "
                    "with, and is it whole?");
    }
    throw Refusal(what + (options.cipher == 2 ? "; RC4 needs OpenSSL's legacy provider" : ""));
  }
  return result;
}

void run(const CipherOptions& options) {
  const bool toFile = options.out != "-";
  const Existing existing = options.force ? Existing::replaced : Existing::refused;
  // What can be refused is refused before anything is read.
  if (!options.passphraseFile.empty() && isSameStream(options.in, options.passphraseFile)) {
    throw Refusal(displayName(options.in) + " cannot be both the pass phrase and the data");
  }
  if (toFile) checkPlace(options.out, existing);
  if (!toFile && options.mode == kEncipher && isatty(STDOUT_FILENO) == 1) {
    throw Refusal("a terminal is no place for enciphered bytes; name an output file");
  }
  checkReadable(options.in);
  const std::unique_ptr<vu_crypto> engine = makeEngine(options);
  const std::string result = transform(*engine, options, readFile(options.in));
  if (toFile) {
    writeFile(options.out, result, existing);
  } else {
    writeOut(result);
  }
}

void printInfo(int cipher) {
  writeOut(vu_crypto(kEncipher, cipher, nullptr, nullptr, 0, 1).print_info() + "\n");
}

void addOne(CLI::App& app, int mode, const std::string& name, const std::string& description) {
  auto options = std::make_shared<CipherOptions>();
  options->mode = mode;
  CLI::App* command = app.add_subcommand(name, description);
  CLI::Option* in =
      command->add_option("IN", options->in, "What to read; - or nothing is standard input")
          ->check(isNotEmpty);
  command->add_option("OUT", options->out, "What to write; - or nothing is standard output")
      ->check(isNotEmpty);
  addNumber(*command, "--cipher", options->cipher, 0, 2,
            "0 or 1: AES-256-CBC (default); 2: RC4,\nwhich is broken")
      ->option_text("0|1|2");
  CLI::Option* passphrase =
      command
          ->add_option("--passphrase-file", options->passphraseFile,
                       "File whose first line is the pass phrase;\n- is standard input. Otherwise "
                       "the built-in one,\nwhich is no secret")
          ->option_text("FILE")
          ->check(isNotEmpty);
  command
      ->add_option("--salt", options->salt,
                   "Salt in hexadecimal digits; otherwise the\nbuilt-in one, which is no secret")
      ->check([](const std::string& hex) {
        return isHex(hex) && !hex.empty() ? "" : "not pairs of hexadecimal digits: " + hex;
      })
      ->option_text("HEX");
  addNumber(*command, "--iterations", options->iterations, 1, INT_MAX,
            "How often PBKDF2-HMAC-SHA1 iterates\n(default 100000)");
  command->add_flag("--force", options->force, "Replace OUT when it is there");
  command->footer(
      "Both sides must use the same pass phrase, salt, iterations and cipher. Nothing\n"
      "authenticates the data, and equal files give equal results: see SECURITY.md.\n"
      "Exit status: 0 done, 1 something was refused, 2 wrong usage.");
  command->callback([options] { options->info ? printInfo(options->cipher) : run(*options); });
  if (mode == kEncipher) {
    command
        ->add_flag("--info", options->info, "Only print the cipher's block, key and vector length")
        ->excludes(in)
        ->excludes(passphrase);
  }
}

}  // namespace

void addCiphers(CLI::App& app) {
  addOne(app, kEncipher, "encipher", "Encipher a file");
  addOne(app, kDecipher, "decipher", "Decipher what \"vu encipher\" made");
}

}  // namespace vu::tool
