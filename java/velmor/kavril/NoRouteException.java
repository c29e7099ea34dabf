package velmor.kavril;

import java.util.List;

/** There is no path with enough room, or no way around what is to be protected. */
public final class NoRouteException extends KavrilException {
    private static final long serialVersionUID = 1L;

    NoRouteException(String message, List<String> trace, Throwable cause) {
        super(message, trace, cause);
    }
}
