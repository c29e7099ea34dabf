package velmor.kavril;

import java.util.List;

/** A node, link, LSP or session cannot be added or removed. */
public final class RefusedException extends KavrilException {
    private static final long serialVersionUID = 1L;

    RefusedException(String message, List<String> trace, Throwable cause) {
        super(message, trace, cause);
    }
}
