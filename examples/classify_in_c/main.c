// Classifies a column of URLs with a table of one suffix: the texts in one buffer, and where each
// begins, as table engines keep them.

#include <stdio.h>

#include <vu/c.h>

int main(void) {
  FILE* file = fopen("suffixes.txt", "w");
  if (file == NULL || fputs("co.uk 3\n", file) == EOF || fclose(file) != 0) return 1;

  vu_table* table;
  char why[256];
  if (vu_table_open("no-such-file.txt", &table, why, sizeof why) != VU_OK) printf("%s\n", why);
  if (vu_table_open("suffixes.txt", &table, why, sizeof why) != VU_OK) {
    fprintf(stderr, "%s\n", why);
    return 1;
  }

  const char bytes[] = "http://www.shop.co.uk:8080/index.htmluser@shop.co.uk192.0.2.17/x";
  const int32_t offsets[] = {0, 37, 52, 64};
  vu_record found[3];
  if (vu_classify_offsets32(table, VU_RULE_PUBLIC_SUFFIX, bytes, offsets, 3, found,
                            sizeof found[0]) != VU_OK) {
    return 1;
  }
  for (int i = 0; i < 3; ++i) {
    const char* url = bytes + offsets[i];
    if (found[i].status == 0) {
      printf("%.*s\n", (int)found[i].domain_length, url + found[i].domain_start);
    } else {
      printf("%.*s: %s\n", (int)(offsets[i + 1] - offsets[i]), url,
             vu_status_text(found[i].status));
    }
  }
  vu_table_close(table);
}
