"""ftp_server.py LISTENING_DESCRIPTOR FOLDER LOG: lets anyone write into the folder and logs the
commands that change it. Ends with its standard input, that is with whoever started it."""

import os
import socket
import sys
import threading

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer

listener, folder, log = sys.argv[1:]


class Handler(FTPHandler):
    authorizer = DummyAuthorizer()

    def pre_process_command(self, line, cmd, arg):
        if cmd in ("STOR", "RNFR", "RNTO", "DELE", "MKD"):
            with open(log, "a") as file:
                file.write(line + "\n")
        super().pre_process_command(line, cmd, arg)


threading.Thread(target=lambda: (sys.stdin.read(), os._exit(0)), daemon=True).start()
Handler.authorizer.add_anonymous(folder, perm="elradfmwMT")
FTPServer(socket.socket(fileno=int(listener)), Handler).serve_forever()
