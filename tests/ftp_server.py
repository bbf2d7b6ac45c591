# ftp_server.py LISTENING_DESCRIPTOR FOLDER: lets anyone write into the folder and logs there the
# first commands that change it. Hangs up on who asks for the folder "hangup", stops for ever once a
# file is sent into "deaf". Ends with its standard input, that is with whoever started it.

import os
import socket
import sys
import threading
import time

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import DTPHandler, FTPHandler
from pyftpdlib.servers import FTPServer


class DataHandler(DTPHandler):
    def handle_read_event(self):
        if self.cmd_channel.fs.cwd == "/deaf":
            time.sleep(1e6)
        super().handle_read_event()


class Handler(FTPHandler):
    authorizer = DummyAuthorizer()
    dtp_handler = DataHandler

    def pre_process_command(self, line, cmd, arg):
        if cmd in ("STOR", "RNFR", "RNTO", "DELE", "MKD"):
            with open(sys.argv[2] + "/log", "a") as file:
                if file.tell() < 4096:  # a full disk would end the session
                    print(line, file=file)
        if arg == "hangup":
            return self.close()
        super().pre_process_command(line, cmd, arg)


threading.Thread(target=lambda: (sys.stdin.read(), os._exit(0)), daemon=True).start()
Handler.authorizer.add_anonymous(sys.argv[2], perm="elradfmwMT")
FTPServer(socket.socket(fileno=int(sys.argv[1])), Handler).serve_forever()
