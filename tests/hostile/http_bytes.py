"""HTTP as exact bytes: what a client library would not let a test send."""
import socket
from urllib.parse import urlsplit


def port_of(address):
    return urlsplit(address).port


def connect(port, seconds=10):
    return socket.create_connection(("127.0.0.1", port), timeout=seconds)


def request(method, target, body=b"", headers=()):
    lines = [f"{method} {target} HTTP/1.1", "Host: localhost", "Connection: close", *headers]
    if body or method == "POST":
        lines.append(f"Content-Length: {len(body)}")
    return "\r\n".join(lines).encode() + b"\r\n\r\n" + body


def exchange(port, data, seconds=10):
    """(status, whole answer) of sending these bytes; status 0 when the connection ends without an answer."""
    answer = b""
    with connect(port, seconds) as client:
        try:
            client.sendall(data)
            while True:
                piece = client.recv(65536)
                if not piece:
                    break
                answer += piece
        except (ConnectionResetError, BrokenPipeError):
            pass
    return (int(answer[9:12]) if answer.startswith(b"HTTP/1.") and len(answer) > 12 else 0), answer


def ask(port, method, target, body=b"", headers=(), seconds=10):
    return exchange(port, request(method, target, body, headers), seconds)
