// Walks the tree of an XML fragment.

#include <iostream>
#include <memory>
#include <string>

#include <vu/pattern.h>

int main() {
  const std::string text = "<user id='7'><name>Ann</name></user><user id='8'/>";
  vu_pcrexml parser;
  const std::unique_ptr<const xmldata> root(parser.execute(text.c_str(), "users"));
  for (const xmldata* user : root->children("user")) {
    std::cout << "user " << user->attribute("id");
    for (const xmldata* name : user->children("name")) std::cout << " is called " << name->text();
    std::cout << '\n';
  }
  if (!parser.usedAll()) std::cout << "not read from byte " << parser.stoppedAt() << " on\n";
}
