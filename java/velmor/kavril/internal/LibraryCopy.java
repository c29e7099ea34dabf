package velmor.kavril.internal;

import java.io.IOException;
import java.math.BigInteger;
import java.nio.file.DirectoryStream;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.nio.file.attribute.FileAttribute;
import java.nio.file.attribute.PosixFilePermission;
import java.nio.file.attribute.PosixFilePermissions;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.time.Duration;
import java.time.Instant;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Set;

/**
 * Loads a library from a file that belongs to the user alone.
 *
 * <p>The file's name carries a hash of the content, so that all processes of a user share one file
 * per version of the library. The virtual machine loads a file into one class loader only; the second
 * one that wants it takes the next number. A number is used again when it is free, so there are never
 * more files than class loaders that had the library at the same time.
 *
 * <p>A file that others may have loaded is never deleted, and one that is there with the right
 * content is not touched. A new one appears at once and whole, under its final name.
 */
final class LibraryCopy {
    private static final int MAX_COPIES = 1000;
    private static final int MAX_FOLDERS = 10;
    private static final int HASH_DIGITS = 32;
    private static final String UNFINISHED = ".tmp";

    /** No extraction takes that long; an unfinished file of this age has lost its process. */
    private static final Duration ABANDONED = Duration.ofHours(1);

    private LibraryCopy() {
    }

    /** Loads the library with this content and returns its file. */
    static String load(byte[] content) throws IOException {
        Path folder = ownFolder();
        String name = System.mapLibraryName("kavril-" + hash(content));
        for (int number = 0; number < MAX_COPIES; number++) {
            int suffix = name.lastIndexOf('.');
            Path copy = folder.resolve(
                    name.substring(0, suffix) + "-" + number + name.substring(suffix));
            if (!holds(copy, content)) {
                write(copy, content);
            }
            try {
                System.load(copy.toString());
                return copy.toString();
            } catch (UnsatisfiedLinkError e) {
                if (!NativeLibrary.isLoadedElsewhere(e)) {
                    throw e;
                }
            }
        }
        throw new IOException(MAX_COPIES + " class loaders have the library already");
    }

    private static String hash(byte[] content) {
        try {
            byte[] digest = MessageDigest.getInstance("SHA-256").digest(content);
            return String.format("%064x", new BigInteger(1, digest)).substring(0, HASH_DIGITS);
        } catch (NoSuchAlgorithmException e) {
            throw new IllegalStateException("every Java has SHA-256", e);
        }
    }

    /**
     * The user's folder for copies, made if it is missing. Where another user has taken the name, or
     * could write into the folder, the next number is tried: kavril-USER, kavril-USER-1, ...
     */
    private static Path ownFolder() throws IOException {
        String chosen = System.getProperty(NativeLibrary.DIRECTORY_PROPERTY);
        Path base = Path.of(chosen != null ? chosen : System.getProperty("java.io.tmpdir"))
                .toAbsolutePath();
        Files.createDirectories(base);
        // "?" for a user without an entry in the password file.
        String name = "kavril-"
                + System.getProperty("user.name", "?").replaceAll("[^A-Za-z0-9._-]", "_");
        List<String> taken = new ArrayList<>();
        for (int number = 0; number < MAX_FOLDERS; number++) {
            Path folder = base.resolve(number == 0 ? name : name + "-" + number);
            try {
                Files.createDirectory(folder, ownerOnly(folder));
                return folder;
            } catch (FileAlreadyExistsException e) {
                String objection = objection(folder);
                if (objection == null) {
                    return folder;
                }
                taken.add(objection);
            }
        }
        throw new IOException(String.join(", ", taken));
    }

    /** What speaks against a folder; somebody may have made it to have this user load his file. */
    private static String objection(Path folder) {
        try {
            if (!Files.isDirectory(folder, LinkOption.NOFOLLOW_LINKS)) {
                return folder + " is not a directory";
            }
            if (!isPosix(folder)) {
                return null;
            }
            Set<PosixFilePermission> permissions = Files.getPosixFilePermissions(folder);
            if (permissions.contains(PosixFilePermission.GROUP_WRITE)
                    || permissions.contains(PosixFilePermission.OTHERS_WRITE)) {
                return "others can write to " + folder;
            }
            Path own = Files.createTempFile(folder, "owner", UNFINISHED);
            try {
                return Files.getOwner(own).equals(Files.getOwner(folder)) ? null
                        : folder + " belongs to " + Files.getOwner(folder);
            } finally {
                Files.deleteIfExists(own);
            }
        } catch (IOException e) {
            return folder + " cannot be used (" + e + ")";
        }
    }

    private static boolean holds(Path copy, byte[] content) throws IOException {
        return Files.isRegularFile(copy, LinkOption.NOFOLLOW_LINKS)
                && Files.size(copy) == content.length
                && Arrays.equals(Files.readAllBytes(copy), content);
    }

    private static void write(Path copy, byte[] content) throws IOException {
        Path folder = copy.getParent();
        deleteAbandoned(folder);
        Path unfinished = Files.createTempFile(folder, "copy", UNFINISHED, ownerOnly(folder));
        try {
            Files.write(unfinished, content);
            Files.move(unfinished, copy, StandardCopyOption.ATOMIC_MOVE);
        } finally {
            Files.deleteIfExists(unfinished);
        }
    }

    /** Unfinished files of processes that were killed; nobody loads a file of such a name. */
    private static void deleteAbandoned(Path folder) throws IOException {
        Instant limit = Instant.now().minus(ABANDONED);
        try (DirectoryStream<Path> files = Files.newDirectoryStream(folder, "*" + UNFINISHED)) {
            for (Path file : files) {
                if (Files.getLastModifiedTime(file).toInstant().isBefore(limit)) {
                    Files.deleteIfExists(file);
                }
            }
        } catch (NoSuchFileException e) {
            // Another process has finished its file, or cleared it away.
            return;
        }
    }

    private static boolean isPosix(Path path) {
        return path.getFileSystem().supportedFileAttributeViews().contains("posix");
    }

    private static FileAttribute<?>[] ownerOnly(Path path) {
        return isPosix(path) ? new FileAttribute<?>[] {
            PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwx------"))
        } : new FileAttribute<?>[0];
    }
}
