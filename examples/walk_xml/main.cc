// Walks the tree of an XML fragment.

#include <iostream>
#include <memory>
#include <string>

#include <vu/pattern.h>

int main() {
  const std::string text = "<user id='7'><name>Ann</name></user><user id='8'/>";
  vu_pcrexml parser;
  const std::unique_ptr<const xmldata> root(parser.execute(text.c_str(), "users"));
  for (const xmldata* user : root->_children) {
    std::cout << "user " << user->attribute("id");
    const xmldata* const name = user->child("name");
    if (name != nullptr) std::cout << " is called " << name->ctextString();
    std::cout << '\n';
  }
}
