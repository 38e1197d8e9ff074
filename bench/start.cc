// What a process costs that does nothing; linked with libvu and without.
int main() { return 0; }
