import pytest
import vu

RULES = """// ===BEGIN ICANN DOMAINS===
co.uk
ltd.co.uk
*.ck
!www.ck
// ===END ICANN DOMAINS===
// ===BEGIN PRIVATE DOMAINS===
blog.xy
// ===END PRIVATE DOMAINS===
"""


@pytest.fixture(scope="session")
def path(tmp_path_factory):
    file = tmp_path_factory.mktemp("table") / "suffixes.txt"
    file.write_text(RULES)
    return file


@pytest.fixture(params=[("shortest", "service"), ("public-suffix", "service"),
                        ("shortest", "browser"), ("public-suffix", "browser")])
def suffixes(path, request):
    match, host = request.param
    return vu.Suffixes(path, match=match, host=host)
