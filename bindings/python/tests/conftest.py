import pytest
import vu

RULES = "co.uk 3\nltd.co.uk 4\n*.ck 3\n!www.ck 2\n"


@pytest.fixture(scope="session")
def path(tmp_path_factory):
    file = tmp_path_factory.mktemp("table") / "suffixes.txt"
    file.write_text(RULES)
    return file


@pytest.fixture(params=["shortest", "public-suffix"])
def suffixes(path, request):
    return vu.Suffixes(path, match=request.param)
