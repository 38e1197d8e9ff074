// The vu tool as a person or a pipe uses it: what it prints where, and how it ends.

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/process.h"
#include "tests/support.h"
#include "tools/buffer.h"

namespace vu::test {
namespace {

/// What is in no example of a page. In a folder with some tables and a list, whose names stand for
/// themselves.
TEST(Tool, AnswersEveryCommandLine) {
  std::string folder = "/tmp/vu-test-XXXXXX";
  ASSERT_NE(nullptr, mkdtemp(folder.data()));
  const std::string within =
      "parts() { vu classify -m public-suffix -s parts \"$@\"; }; VU_SUFFIXES=suffixes; "
      "export VU_SUFFIXES; cd " +
      folder + "; ";
  ASSERT_EQ("", run(within + R"(
    printf 'co.xy 3\n' >suffixes; printf 'co.xy 3\nnet.xy\n' >broken
    icann='// ===BEGIN ICANN DOMAINS===' end='// ===END ICANN DOMAINS==='
    private='// ===BEGIN PRIVATE DOMAINS==='
    printf '%s\n' "$icann" xy '*.ck' '!www.ck' bü.xy "$end" between.xy "$private" 'blog.xy x' \
      a.blog.xy '// ===END PRIVATE DOMAINS===' >list
    printf '%s\n' "$icann" xy '*.wild' '!www.wild' "$end" "$private" blog.xy >parts)")
                    .err);
  const struct {
    std::string command;
    std::string input;
    int status;
    std::string out;
    std::string err;
  } rows[] = {
      {"vu classify --allow-refused -f /nowhere -f - -f suffixes", "a.b\n", 1, "\ta.b\n202\t",
       "cannot open /nowhere"},
      {"vu classify --summary", "a.b.xy\nc.b.xy\nd.xy\n", 0, "b.xy",
       "2  b.xy  ##############################\n             1  d.xy  ###############\n"},
      // Of files beyond 2 GiB, which need to be asked for on 32-bit systems, no more is read than
      // what counts.
      {"f=$(mktemp) && printf 'co.xy 3\nx y' >$f && truncate -s 3G $f; vu classify a.b -s $f;"
       "printf x | vu encipher --passphrase-file $f | wc -c; rm $f",
       "", 0, "16\n", "Read Error at [2]-th record"},
      {"vu suffixes diff - broken", "co.xy 3\n", 1, "",
       "broken: Top level domain : Read Error at [2]"},
      {"vu classify '[a.b,c.d]' '[::1]'", "", 1,
       "\t[a.b,c.d]\n0\tOPERATION SUCCESS\t[::1]\t::1\t[::1]\n", ""},
      {"seq -f x%.0f.com 70000 | vu classify --summary >/dev/null", "", 0, "", "too low"},
      {"yes a.b.xy | head -n 200000 | vu classify --summary -j 2 >/dev/null", "", 0, "",
       "200,000  100.0 %    0 OPERATION SUCCESS\n             0  without a domain\n\nMost frequent "
       "domains\n       200,000  b.xy"},
      {"vu classify a.b -d .corp", "", 2, "", "not a domain name: .corp"},
      {"vu classify a.b --suffixes ''", "", 2, "", "the name is empty"},
      {"cat | vu classify -s -", "a.b 3\n", 1, "",
       "standard input cannot be both the suffixes and"},
      {"vu classify -", "", 0, "\t-\n", "note: - is taken for a URL; without any, standard input"},
      {"vu classify -f /dev/null a.b", "", 1, "",
       "open a.b: No such file or directory; URLs stand"},
      {"vu classify a.b >&- <&-", "", 1, "", "vu classify: cannot write standard output"},
      {"vu settings --format jsonl -- -v 0x1F -x 'user=\xff\"' -b '[a,b]'", "", 0,
       "{\"name\":\"debug\",\"type\":\"d\",\"value\":\"31\",\"origin\":\"command line\"}\n", ""},
      {"vu classify -0 --host service --format csv", std::string("a.b/\n\0c.d\r\0", 11), 1,
       ",,\"a.b/\n\"\n202,COUNTRY CODE - NOT A DOMAIN,,,\"c.d\r\"\n", ""},
      {"vu classify --top 1 --format csv --header", "a.b.xy\nb.xy\nc.xy\na b\n", 1,
       "count,domain\n2,b.xy\n", ""},
      {"(head -c 70000000 /dev/zero | tr '\\0' a; echo; echo x.y) | vu classify", "", 1,
       "1003\tMALFORMED URL\t\t\t(a line of 70000000 bytes)\n0\tOPERATION SUCCESS\tx.y", ""},
      {"vu classify --host service", "a.b\n c.d\n", 0, "\t c.d\n",
       "in standard input:2, are taken for part"},
      {"vu classify", std::string("a.xy\0b.xy", 9), 1, "202\t",
       "NUL bytes in it; with --null they"},
      {"gzip -n | vu classify --allow-refused", "a.b\n", 0, "202\t", "is compressed; zcat makes"},
      {"vu classify --top 1 --columns url", "", 2, "", "excludes --top"},
      {"vu classify --columns url,dommain", "", 2, "",
       "dommain is none of status, text, domain, addr"},
      // The same by both rules, in every column that a host is told in.
      {"vu classify --header --columns suffix,status,domain,address,subdomain -d corp.xy",
       "http://x@y.a.b.CO.xy./\na.b.\n[::FFFF:1.2.3.255]:80\n0x7f.1\nmailto:a@b\na:b:c\nhost.\n", 1,
       "suffix\tstatus\tdomain\taddress\tsubdomain\nco.xy\t0\tb.co.xy\t\ty.a\nb\t0\ta.b\t\t\n"
       "\t0\t[::ffff:102:3ff]\t::ffff:102:3ff\t\n\t0\t127.0.0.1\t127.0.0.1\t\n"
       "\t201\t\t\t\n\t201\t\t\t\ncorp.xy\t0\thost.corp.xy\t\t\n",
       ""},
      {"parts --explain --listed-only --columns status,domain",
       "http://%61.b.blog.xy\na!.b.x.wild\na!.wild\nb.zz\n1.255\n", 1,
       "0\tb.blog.xy\tblog.xy\tprivate\n0\tb.x.wild\t*.wild\ticann\n202\t\t*\t\n"
       "202\t\t*\t\n0\t1.0.0.255\t\t\n",
       ""},
      {"parts --explain --with-place --format jsonl --columns domain a.b.zz -f -",
       "a.b.blog.xy\n\n", 0,
       "{\"domain\":\"b.zz\",\"rule\":\"*\",\"section\":null,\"file\":null,\"line\":null}\n"
       "{\"domain\":\"b.blog.xy\",\"rule\":\"blog.xy\",\"section\":\"private\","
       "\"file\":\"standard input\",\"line\":1}\n"
       "{\"domain\":null,\"rule\":null,\"section\":null,\"file\":\"standard input\",\"line\":2}\n",
       ""},
      {"parts --sections icann --columns domain,line", "a.b.blog.xy\na.wild\n", 1,
       "blog.xy\t1\n\t2\n", ""},
      {"vu classify -m public-suffix --sections icann", "a.b\n", 1, "",
       "these suffixes have no sections"},
      {"vu classify --host service --field url --columns status,domain",
       "id,url\r\n1,\"a.b.xy/\"\"\r\n,\"\r\n2\r\n3,a.xy,b\r\n4, a.xy\r\n5,\"a\".xy", 1,
       "id,url,status,domain\r\n1,\"a.b.xy/\"\"\r\n,\",0,b.xy\r\n2,,201,\r\n3,a.xy,b,1003,\r\n"
       "4, a.xy,0,a.xy\r\n5,\"a\".xy,0,a.xy\n",
       "fields in standard input:4: 1, in its first row: 2\nvu classify: note: blanks around a "
       "URL, as in standard input:6,"},
      {"vu classify --field 2 --with-place --columns domain", "a.b\tc.d,e\n\tx.b.c\n", 1,
       "a.b\tc.d,e\t\tstandard input\t1\n\tx.b.c\tb.c\tstandard input\t2\n", ""},
      {"vu classify --field 1 --only-failed", "co.xy,1\na.b,\"\n", 1,
       "co.xy,1,204,COUNTRY CODE - PURE DOMAIN,,\n", "standard input:2: quotes begin in this row"},
      {"(echo a.b,c; head -c 70000000 /dev/zero | tr '\\0' a) | vu classify --field 2 --columns "
       "status",
       "", 1, "a.b,c,203\n,(a line of 70000000 bytes),1003\n", ""},
      {"(echo '\"'; yes '\"\"' | head -c 70000000) | vu classify --field 1", "", 1, "",
       "input:1: quotes begin in this row that nothing closes within 64 MiB"},
      {"vu classify --field urll", "\xef\xbb\xbfurl,x\n", 1, "",
       "no field urll in its first row: url, x; did you mean url?"},
      {"vu classify --field 3", "url,x\n", 1, "", "no field 3: its first row ends with field 2"},
      {"(echo a; echo 1.2) >f.tmp; vu classify --field a --columns url -f f.tmp - f.tmp ; rm f.tmp",
       "b,a\n,3.4\n", 0, "a,url\n1.2,1.2\n1.2,1.2\n",
       "has other titles in its first row than the first file\n"},
      {"vu classify --field 1 a.b", "", 2, "", "is for rows of files, not for a.b"},
      {"vu classify --field 1 --format jsonl", "", 2, "", "rows of csv or tsv and keeps their"},
      {"vu classify -m public-suffix --explain --columns domain a.b.co.xy a.blog.xy -s - -s parts",
       "b.co.xy 4\n", 0, "a.b.co.xy\tb.co.xy\t\na.blog.xy\tblog.xy\tprivate\n", ""},
      {"cat | vu classify a.b -s - -s /dev/stdin", "", 1, "", "can be read once only"},
      {"vu classify --listed-only a.b", "", 2, "", "are for --match public-suffix"},
      {"vu status '\x1b[31m' 204 99999999999 0", "", 1,
       "204\tCOUNTRY CODE - PURE DOMAIN\n0\tOPERATION SUCCESS\n",
       "no such status: \\x1b[31m; \"vu status\" lists them all\nvu status: no such status: "
       "99999999999;"},
      // What was found in front of a failure is shown.
      {"vu pairs --pattern '(.)=(.)(!)?' --format csv", "a=1 b=,\nc=3! d=4", 1, "a,1\nb,\",\"\n",
       "more groups than a name"},
      {"vu settings --format csv --header -- -v abc -x 'user=a,'", "", 1, "debug,d,,command line\n",
       "vu settings: debug (command line): bad conversion [abc]\n"},
      {"vu settings -v 5", "", 2, "", "no option -v; a daemon's own arguments stand behind \"--\""},
      {"vu settings --check -- -D -c /dev/stdin", "debug 3\n\n#\nsystemID=x\n", 0, "good",
       ":4: skipped by a daemon, for it is no \"name value\"\n"},
      {"cat | vu settings -- -c /dev/stdin", "isdaemon \x1b\n", 1, "",
       "vu settings: bad conversion [\\x1b]\n"},
      // Behind a good file, in a later block of a long one.
      {"vu settings -- -c suffixes -c /dev/stdin", std::string(400000, '\n') + "isdaemon x\n", 1,
       "", "[x] (/dev/stdin:400001)\n"},
      // Files that grow while they are read.
      {"{ printf 'debug 7\nisda'; sleep 0.05; printf 'emon 3'; } | vu settings -- -c /dev/stdin |"
       "grep -E '^(debug|isda)' | cut -f 3",
       "", 0, "7\n3\n", ""},
      {"{ printf 'ltd.co'; sleep 0.05; printf '.xy 4'; } | vu suffixes check -", "", 0,
       "label count: 4\n", ""},
      {"vu settings --check vu.conf", "", 0, "good",
       "note: a daemon ignores the operand vu.conf; -c"},
      {"vu classify --format xml", "", 2, "", "--format: xml is none of table, tsv, csv, jsonl\n"},
      {"vu classify --format", "", 2, "", "--format needs a value: table|tsv|csv|jsonl\n"},
      {"vu classify --format csv --format tsv", "", 2, "", "--format can be given once only\n"},
      {"vu classify --summary=no", "", 2, "", "--summary takes no value\n"},
      {"vu classify --only", "", 2, "", "did you mean --only-failed?"},
      {"vu ''", "", 2, "", "vu: there is no command \"\"; see \"vu --help\"\n"},
      {"vu --format tsv classify", "", 2, "", "vu: there is no option --format in front of a comm"},
      {"vu suffixes", "", 2, "", "Usage: vu suffixes [OPTIONS] COMMAND\n"},
      {"vu suffixes build", "", 2, "", "LIST is required; see \"vu suffixes build --help\"\n"},
      {"vu", "", 2, "", "Examples:\n  vu classify http"},
      {"vu --version | sed '/suff/!s/ .*//; s/PCRE2/PCRE/' | xargs", "", 0,
       "vu PCRE OpenSSL CLI11 suffixes suffixes, 0 days old\n", ""},
      {"vu classify suffixes", "", 1, "suffixes", "suffixes is a file, too; --file reads"},
      {"vu suffixes build list", "", 0,
       "xy 2\n*.ck 3\n!www.ck 2\nxn--b-eha.xy 3\nbetween.xy 3\nblog.xy 3\na.blog.xy 4\n",
       "cannot honour 3:\n  wildcards, which only public-suffix matching reads: 1, such as *.ck\n"},
      {"vu suffixes build --section private list", "", 0, "blog.xy 3\na.blog.xy 4\n",
       "cannot honour 1:\n  longer than another listed suffix, which wins: 1, such as a"},
      {"vu suffixes build -", "\xef\xbb\xbf  xy\r\n", 0, "xy 2\n", "honours them all"},
      {"vu suffixes build -", std::string(1024, 'a'), 1, "", "input:1: not a suffix rule: aaa"},
      {"vu suffixes build - --section icann", "// nothing\n", 1, "", "no rules of that section"},
      {"vu suffixes check -", "\xef\xbb\xbf co.xy 3\n", 1, "", "begins with a byte-order mark"},
      {"vu suffixes check -",
       "co.xy 4\nco.xy 3\nxy 2\na.ltd.co.xy 3\nltd.co.xy 3\n*.ck 3\n?? 2\na.b.c.d.e 3\n", 0,
       "records: 8\ndistinct suffixes: 7\nlargest label count: 4\nduplicates: 1\n"
       "  standing again: 1, such as co.xy in lines 1 and 2\nnever matched by the shortest rule: "
       "6\n"
       "  no host names, so nothing can match them: 1, such as ?? in line 7\n"
       "  wildcards or exceptions, for public-suffix matching only: 1, such as *.ck in line 6\n"
       "  single labels, for public-suffix matching only: 1, such as xy in line 3\n"
       "  more labels than the largest label count: 1, such as a.b.c.d.e in line 8\n"
       "  longer than another listed suffix, which wins: 2, such as a.ltd.co.xy in line 4 "
       "(co.xy is listed)\n",
       ""},
      {"vu xml", "", 1, "", "vu xml: standard input is empty; a fragment"},
      {"vu xml", std::string("<a>\0</a>", 8), 1, "", "has a NUL byte in it"},
      {"vu pairs", std::string("a=1 b=\tc\0d=2\n", 14), 0, "a\t1\nb\t\nd\t2\n", ""},
      {"vu pairs --pattern '(a)(.)'", "a\t\na\xff", 0, "a\t\\t\na\t\xff\n", ""},
      {"vu pairs --pattern '(a)(.)' --format jsonl", "a\xff", 0,
       "{\"name\":\"a\",\"value\":\"\xef\xbf\xbd\"}\n", ""},
      {"awk 'BEGIN { for (i = 0; i < 5001; ++i) "
       "printf \"<a%d>\", i; for (; i-- > 0;) printf \"</a%d>\", i }' | vu xml",
       "", 1, "", "vu xml: nested more than 5000 deep"},
      {"vu hash --u64", "0x0123456789ABCDEF\r\n0\nx\n", 1,
       "5be890c4\t0x0123456789ABCDEF\n9c352659\t0\n", "line 3: not a number from 0 to 1844674"},
      {"vu hash", "abc\n\n\tx", 0, "251e4793\tabc\n00000000\t\n", ""},
      {"vu hash --hex 616263 0000000000000000000000000000000000000000 6", "", 1,
       "251e4793\t616263\n5f9ebd1d\t", "vu hash: not pairs of hexadecimal digits: 6\n"},
      {"vu hash --u32 --hex 1", "", 2, "", "one of --text, --hex, --u32 and --u64"},
      {"cat | vu encipher --passphrase-file /dev/stdin", "", 1, "",
       "cannot be both the pass phrase"},
      {"vu encipher --iterations 010 2>/dev/null | vu decipher --iterations 10 2>&1", "x", 0, "x",
       ""},
      {"vu encipher --iterations 0", "", 2, "", "0 is no number from 1 to 2147483647"},
      {"vu encipher --passphrase-file /dev/null", "", 1, "", "phrase in /dev/null is empty\n"},
      {"vu encipher --passphrase-file - /dev/null", std::string("a\0b", 3), 1, "",
       "has a NUL byte"},
      {"vu decipher --salt 00", "some ciphertext?", 1, "",
       "cannot be deciphered (bad decrypt); are pass"},
      {"OPENSSL_MODULES=/nowhere vu encipher --cipher 2", "x", 1, "",
       "vu encipher: Cipher Init failed : error:12800067:DSO support"},
      {"d=$(mktemp -d); trap 'rm -r $d' 0; for n in 3 4; do echo junk >$d/libcrypto.so.$n; done; "
       "export LD_LIBRARY_PATH=$d; vu --version | cut -c 1-4 | head -n 1; vu encipher",
       "x", 1, "vu 1\n", "vu encipher: vu_crypto: Cannot load libcrypto ["},
      {"vu classify | head -n 1", std::string(3000000, '\n'), 0, "0\tOPERATION SUCCESS\t\t\t\n",
       ""},
  };
  for (const auto& row : rows) {
    const Result result = run(within + row.command, row.input);
    EXPECT_EQ(row.status, result.status) << row.command;
    EXPECT_TRUE(says(result.out, row.out)) << row.command;
    EXPECT_TRUE(says(result.err, row.err)) << row.command;
  }
  std::filesystem::remove_all(folder);
}

TEST(Tool, RefusesRoomThatNoMemoryHas) {
  tool::Buffer buffer;
  buffer += 'x';
  for (const std::uint64_t count : {~std::uint64_t{0}, ~std::uint64_t{0} >> 1}) {
    EXPECT_THROW(buffer.room(count), std::bad_alloc) << count;
  }
  EXPECT_EQ("x", buffer.text());
}

TEST(Tool, FilesAppearWholeOrNotAtAll) {
  const Result result = run(R"(
    d=$(mktemp -d); cd $d; ulimit -f 8; umask 027; echo old >old; echo 'co.xy 3' >list
    yes | head -c 100000 | vu encipher - new; yes | head -c 100000 | vu encipher --force - old
    yes example | head -n 5000 | vu suffixes build - -o list
    echo '??' | vu suffixes build - -o list; cat list
    echo | vu decipher --force - old; ln -s nothing link; echo | vu encipher - link; cat old
    chmod 604 list; ln -sf list link; echo xy | vu suffixes build - -o link 2>&-; cat list
    vu encipher list mask 2>&-; stat -c %a list mask
    vu encipher --force old /dev/stdout >same; vu encipher old >other; cmp same other
    mkfifo pipe; timeout 60 cat pipe | wc -c & vu encipher old pipe; wait; ls -l pipe | head -c 1
    ls -A | xargs; rm -r $d)");
  EXPECT_EQ("co.xy 3\nold\nxy 2\n604\n640\n16\nplink list mask old other pipe same\n", result.out);
  for (const char* text :
       {"new: File too large", "old: File too large", "list: File too large",
        "standard input cannot be deciphered", "write link: a link to nothing"}) {
    EXPECT_TRUE(says(result.err, text));
  }
}

/// Files of every length around a block, both ways between us and the openssl command.
TEST(Tool, EnciphersAsOpensslDoes) {
  const Result result = run(R"sh(
    d=$(mktemp -d); cd $d; echo 'open sesame' >phrase; export OPENSSL_CONF=/dev/null
    material=$(openssl kdf -keylen 128 -kdfopt digest:SHA1 -kdfopt 'pass:open sesame' \
      -kdfopt hexsalt:00ff10 -kdfopt iter:1000 PBKDF2 | tr -d ': \n')
    key() { echo $material | cut -c $1; }
    for cipher in "1 -aes-256-cbc -K $(key 1-64) -iv $(key 65-96)" \
                  "2 -rc4 -K $(key 1-32) -provider legacy -provider default"; do
      ours="--cipher ${cipher%% *} --passphrase-file phrase --salt 00fF10 --iterations 1000"
      theirs="openssl enc ${cipher#* }"
      for length in 0 1 15 16 17 32 100000; do
        head -c $length /dev/urandom >plain
        vu encipher $ours plain ours && $theirs -e -in plain -out theirs && cmp ours theirs &&
          vu decipher $ours - <theirs | cmp - plain && vu decipher $ours --force ours theirs &&
          cmp theirs plain && rm ours || echo "cipher $cipher, length $length"
      done
    done
    rm -r $d)sh");
  EXPECT_EQ("", result.out + result.err);
}

/// The example that keeps a list fresh leaves the table alone when anything is wrong.
TEST(Tool, SuffixesAreRenewedWholeOrNotAtAll) {
  const Result result = run("e=" VU_SOURCE
                            "/examples"
                            R"sh(
    d=$(mktemp -d); cd $d
    sh -c 'trap "echo told" HUP; echo $$ >pid; while :; do sleep 0.1; done' &
    while ! [ -s pid ]; do sleep 0.1; done
    renewed() {
      status=0
      $e/renew_suffixes.sh table pid "$@" || status=$?
      sleep 0.3
      echo $status $(vu suffixes check table | grep distinct)
    }
    rules() { echo co.uk; seq -f 'x%.0f' $1; }
    rules 1000 >list; renewed cat list; renewed cat list
    renewed false; renewed echo '#'; renewed seq -f 'x%.0f' 2000
    rules 400 >list; renewed cat list
    rules 900 >list; renewed cat list
    kill $!; ls -A | xargs; rm -r $d)sh");
  const std::string stays = " distinct suffixes: 1,001\n";
  EXPECT_EQ("told\n0" + stays + "0" + stays + "1" + stays + "1" + stays + "1" + stays + "1" +
                stays + "told\n0 distinct suffixes: 901\nlist pid table\n",
            result.out)
      << result.err;
}

/// Rows stay in order and whole, however the input is cut into blocks and spread over threads.
TEST(Tool, RowsStayInOrder) {
  const Result result = run(R"(
    d=$(mktemp -d); cd $d
    (seq -f http://www.shop%.0f.xy/ 100000; printf a.b/; head -c 5000000 /dev/zero | tr '\0' c) >in
    (sed -E 's|^(http://www\.)?([^/]*)/.*|0\tOPERATION SUCCESS\t\2\t\t&|' in; echo) >rows
    for threads in 1 7; do
      cat in | vu classify --format tsv --threads $threads | cmp - rows
      vu classify --format tsv --threads $threads --file in | cmp - rows
    done
    wc -l <rows; rm -r $d)");
  EXPECT_EQ("100001\n", result.out) << result.err;
  EXPECT_EQ("", result.err);
}

/// The same rows, and the field that was asked for, in the eyes of another reader of csv.
TEST(Tool, ReadsCsvAsPythonDoes) {
  if (run("python3 -c ''").status != 0) GTEST_SKIP() << "no Python here";
  const Result result = run("python3 - " VU_TOOL, R"(
import csv, io, random, subprocess, sys
pick = random.Random(1).choice
field = lambda: "".join(pick('ab.,"\n\r/ ') for _ in range(pick(range(9))))
rows = [["x", "the url", "y"]] + [[field() for _ in range(3)] for _ in range(30000)]
text = io.StringIO(newline="")
csv.writer(text).writerows(rows)
for threads in "1", "3":
    call = [sys.argv[1], "classify", "--field", "the url", "--columns", "url", "-j", threads]
    out = subprocess.run(call, input=text.getvalue().encode(), stdout=subprocess.PIPE).stdout
    seen = list(csv.reader(io.StringIO(out.decode(), newline="")))
    print(seen[0][3:] == ["url"] and seen[1:] == [row + row[1:2] for row in rows[1:]])
)");
  EXPECT_EQ("True\nTrue\n", result.out) << result.err;
}

/// A program that feeds one line and waits for its row gets it; of ten times as many lines, no more
/// is kept.
TEST(Tool, AnswersEachLineAtOnce) {
  const Result result = run(R"sh(
    d=$(mktemp -d); cd $d; mkfifo in out; export ASAN_OPTIONS=quarantine_size_mb=1
    vu classify --format tsv --threads 2 <in >out & vu=$!
    exec 3>in 4<out
    for host in a.com b.org; do echo $host >&3; read -r row <&4; echo "$row"; done
    cat <&4 >/dev/null 3>&- &
    feed() {
      yes http://www.shop.co.uk/index.html | head -n $1 >&3
      awk '/^VmHWM/ { print $2 }' /proc/$vu/status
    }
    small=$(feed 100000); large=$(feed 1000000); exec 3>&-; wait; rm -r $d
    [ $large -gt 0 ] && [ $large -lt $((small * 2 + 8000)) ] || echo "$small KiB, $large KiB")sh");
  EXPECT_EQ("0\tOPERATION SUCCESS\ta.com\t\ta.com\n0\tOPERATION SUCCESS\tb.org\t\tb.org\n",
            result.out)
      << result.err;
}

/// Colours, titles and harmless tables are for a terminal that shows them; on one that the rows do
/// not go to, work of more than half a second says how far it is.
TEST(Tool, WritesForATerminal) {
  if (run("script -qec true /dev/null").status != 0) GTEST_SKIP() << "no pseudo-terminals here";
  const struct {
    std::string environment;
    std::string command;
    std::string shown;
  } rows[] = {
      {"TERM=xterm", "vu classify a.b co.uk --format table | tail -n 2 | cut -c 1-9",
       "0       O\n204     C\n"},
      {"TERM=xterm NO_COLOR=", "vu classify co.uk", "\x1b[31m204  "},
      {"TERM=xterm", "vu classify a.b", "\x1b[32m0  "},
      {"TERM=xterm NO_COLOR=1", "vu classify co.uk", "\n204  "},
      {"TERM=dumb", "vu classify co.uk", "\n204  "},
      {"TERM=xterm", "vu settings -- -v a", "\x1b[31mdebug  "},
      {"TERM=xterm", "printf \"a=\\033\" | vu pairs --pattern \"(a)=(.)\"", "a  \\x1b"},
      {"TERM=xterm", "echo a=1 | vu pairs | cat -A", "a^I1$"},
      {"TERM=xterm", "(echo a.b; sleep 1; echo c.d) | vu classify >/dev/null", "2 URLs"},
      {"TERM=xterm NO_COLOR=1", "(echo a.b; sleep 1; echo c.d) | vu classify",
       "-                a.b\n0       OPERATION SUCCESS            c.d"},
  };
  for (const auto& row : rows) {
    std::string shown =
        run("env -u NO_COLOR " + row.environment + " script -qec '" + row.command + "' /dev/null")
            .out;
    shown.erase(std::remove(shown.begin(), shown.end(), '\r'), shown.end());
    EXPECT_TRUE(says(shown, row.shown)) << row.environment << " " << row.command;
  }
}

}  // namespace
}  // namespace vu::test
