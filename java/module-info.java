/**
 * Online traffic engineering for label-switched networks.
 *
 * <p>{@link velmor.kavril} is the interface for applications; {@link velmor.repository.KAVRIL} holds
 * the native methods as they are.
 *
 * <h2>The native library</h2>
 *
 * <p>It is loaded when the first session is opened, from the first of these that has it:
 *
 * <ol>
 *   <li>the file that the system property {@code velmor.kavril.library} names; if the property is
 *       set, nothing else is tried;
 *   <li>{@code java.library.path}, as {@code System.loadLibrary("kavril")} finds it, unless that is
 *       the library of another version;
 *   <li>the copy inside the jar. It is extracted into the directory {@code kavril-USER} below the one
 *       that the system property {@code velmor.kavril.directory} names, or else the temporary
 *       directory; if somebody else has or could write to that directory, into {@code kavril-USER-1},
 *       and so on. The file is readable by its owner only, its name carries a hash of its content,
 *       and later processes use it again. Where the temporary directory is mounted without the
 *       right to execute, set the property to one that has it.
 * </ol>
 *
 * <p>A class loader that needs the library while another one has it gets a copy of its own, with
 * sessions of its own. What cannot be loaded is reported by an {@link UnsatisfiedLinkError} that
 * lists what was tried, and says so if the system's C library is too old.
 *
 * <p>From Java 24 on, start the virtual machine with {@code --enable-native-access=velmor.kavril},
 * or {@code --enable-native-access=ALL-UNNAMED} if the jar is on the class path; otherwise it warns,
 * and later versions will refuse.
 */
module velmor.kavril {
    requires static java.management;

    exports velmor.kavril;
    exports velmor.repository.KAVRIL;
    exports velmor.repository.model.exception;
}
