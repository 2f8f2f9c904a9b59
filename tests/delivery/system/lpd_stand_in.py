"""A machine that takes print jobs by LPD: each data file that arrives whole is a job's."""

import socket
import threading


class LpdServer:
    """Answers at a free port of this machine until it is closed."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.files = []  # the bytes of each data file, in the order of their arrival
        self.refusals = 0  # so many connections from now on are closed at once
        self.thread = threading.Thread(target=self._serve, daemon=True)
        self.thread.start()

    def uri(self):
        return f"lpd://127.0.0.1:{self.listener.getsockname()[1]}/label"

    def close(self):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        self.thread.join()

    def _serve(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            with connection, connection.makefile("rwb", buffering=0) as stream:
                if self.refusals > 0:
                    self.refusals -= 1
                    continue
                try:
                    self._job(stream)
                except OSError:
                    pass  # the sender has gone

    def _job(self, stream):
        """One job: its queue, then files in any order, each acknowledged with a zero byte."""
        if stream.readline()[:1] != b"\2":
            return
        stream.write(b"\0")
        while command := stream.readline():
            stream.write(b"\0")
            if command[:1] == b"\1":  # what came so far is void
                return
            left = int(command[1:].split()[0])
            content = b""
            while left and (part := stream.read(left)):
                content += part
                left -= len(part)
            if left or stream.read(1) != b"\0":
                return
            if command[:1] == b"\3":
                self.files.append(content)
            stream.write(b"\0")  # from here on the job may be done
