# Classifies a column of URLs, of which one is missing and one has no domain.

import tempfile

import vu

with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
    print("co.uk 3", file=file, flush=True)
    suffixes = vu.Suffixes(file.name, match="public-suffix")

print(suffixes.classify("http://www.shop.co.uk:8080/index.html").domain)
print(suffixes.classify("http://co.uk/").reason)
print(suffixes.domains(["http://a.shop.co.uk/", None, "http://co.uk/", "192.0.2.17/x"]))
