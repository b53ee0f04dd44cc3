/* Called like a header inside the library. */
#define PARENTS_OWN 1
int parents_own(void);
