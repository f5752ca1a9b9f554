<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>AuthenticationDialog</name>
    <message>
        <source>connect.to.hub</source>
        <translation>Connect to Calderwick</translation>
    </message>
    <message>
        <source>hub.credentials</source>
        <translation>Your Calderwick account</translation>
    </message>
    <message>
        <source>password</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>username</source>
        <translation>User name</translation>
    </message>
</context>
<context>
    <name>Authenticator</name>
    <message>
        <source>access.forbidden.from.server</source>
        <translation>Access forbidden by the server.</translation>
    </message>
    <message>
        <source>here</source>
        <translation>here</translation>
    </message>
    <message>
        <source>invalid.Calderwick.application.identification.number</source>
        <translation>Invalid Calderwick application identification number.</translation>
    </message>
    <message>
        <source>invalid.reply.from.proxy</source>
        <translation>Invalid reply from the proxy. For help on proxy settings, see </translation>
    </message>
    <message>
        <source>invalid.reply.from.server</source>
        <translation>Invalid reply from the server.</translation>
    </message>
    <message>
        <source>login.timeout.on.cloud</source>
        <translation>The login timed out.</translation>
    </message>
    <message>
        <source>network.error</source>
        <translation>Network error: the server cannot be reached.</translation>
    </message>
    <message>
        <source>proxy.authentication.error</source>
        <translation>Proxy authentication failed. Please check the proxy user name and password.</translation>
    </message>
    <message>
        <source>proxy.timeout.error</source>
        <translation>The proxy did not answer in time.</translation>
    </message>
    <message>
        <source>proxy.unreachable</source>
        <translation>The proxy cannot be reached.</translation>
    </message>
    <message>
        <source>server.in.maintenance</source>
        <translation>The server is in maintenance. Please try again later.</translation>
    </message>
    <message>
        <source>server.certificate.refused</source>
        <translation>The server's certificate could not be verified, so the connection was refused to keep your account safe. If your network re-signs secure traffic, ask its administrator for its certificate authority.</translation>
    </message>
    <message>
        <source>service.temporarily.unavailable</source>
        <translation>The service is temporarily unavailable.</translation>
    </message>
    <message>
        <source>timeout.error</source>
        <translation>The server did not answer in time.</translation>
    </message>
    <message>
        <source>unable.to.create.a.new.file</source>
        <translation>Unable to create a new file.</translation>
    </message>
    <message>
        <source>unable.to.read.a.file</source>
        <translation>Unable to read a file.</translation>
    </message>
    <message>
        <source>unknown.generic.error</source>
        <translation>Unknown error.</translation>
    </message>
</context>
<context>
    <name>BasicAuthDialog</name>
    <message>
        <source>cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>signin</source>
        <translation>Sign in</translation>
    </message>
</context>
<context>
    <name>DeviceScreen</name>
    <message>
        <source>error.initialize.frame.buffer</source>
        <translation>The frame buffer could not be initialized</translation>
    </message>
    <message>
        <source>error.opengl.details</source>
        <translation>Details: </translation>
    </message>
    <message>
        <source>error.opengl.error</source>
        <translation>OpenGL error </translation>
    </message>
    <message>
        <source>error.opengl.update.video.card.drivers</source>
        <translation>Please update the drivers of your video card. </translation>
    </message>
    <message>
        <source>error.opengl.video.card.supported</source>
        <translation>Your video card must support OpenGL 2.0 or later.</translation>
    </message>
    <message>
        <source>error.run.virtual.device</source>
        <translation>The virtual device could not be started.</translation>
    </message>
    <message>
        <source>error.setup.window</source>
        <translation>The window of the device screen could not be set up.</translation>
    </message>
    <message>
        <source>failed.create.context</source>
        <translation>The OpenGL context could not be created</translation>
    </message>
    <message>
        <source>failed.create.pbuffer.context</source>
        <translation>The off-screen (pbuffer) context could not be created</translation>
    </message>
    <message>
        <source>failed.create.pbuffer.surface</source>
        <translation>The off-screen (pbuffer) surface could not be created</translation>
    </message>
    <message>
        <source>failed.current</source>
        <translation>The OpenGL context could not be made current</translation>
    </message>
    <message>
        <source>failed.initialize.configs</source>
        <translation>No usable display configuration</translation>
    </message>
    <message>
        <source>failed.initialize.display</source>
        <translation>The display could not be initialized</translation>
    </message>
    <message>
        <source>failed.initialize.gles.configs</source>
        <translation>No usable OpenGL ES 1 configuration</translation>
    </message>
    <message>
        <source>failed.initialize.gles2.configs</source>
        <translation>No usable OpenGL ES 2 configuration</translation>
    </message>
    <message>
        <source>no.egl</source>
        <translation>No EGL library available</translation>
    </message>
    <message>
        <source>no.egl.image.ext</source>
        <translation>The EGL image extension is missing</translation>
    </message>
    <message>
        <source>no.fb.image</source>
        <translation>No frame buffer image</translation>
    </message>
    <message>
        <source>no.render.server</source>
        <translation>The render server could not be started</translation>
    </message>
</context>
<context>
    <name>DeviceScreenContainer</name>
    <message>
        <source>dialog.push.progress</source>
        <translation>Copying files to the virtual device...</translation>
    </message>
    <message>
        <source>dialog.push.cancel</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>DeviceToolbar</name>
    <message>
        <source>device.toolbar.title</source>
        <translation>Device toolbar</translation>
    </message>
    <message>
        <source>tooltip.back</source>
        <translation>Back</translation>
    </message>
    <message>
        <source>tooltip.home</source>
        <translation>Home</translation>
    </message>
    <message>
        <source>tooltip.menu</source>
        <translation>Menu</translation>
    </message>
    <message>
        <source>tooltip.pixelperfect</source>
        <translation>Pixel perfect (1:1)</translation>
    </message>
    <message>
        <source>tooltip.power</source>
        <translation>Power</translation>
    </message>
    <message>
        <source>tooltip.recent</source>
        <translation>Recent applications</translation>
    </message>
    <message>
        <source>tooltip.rotate</source>
        <translation>Rotate</translation>
    </message>
    <message>
        <source>tooltip.sounddown</source>
        <translation>Volume down</translation>
    </message>
    <message>
        <source>tooltip.soundup</source>
        <translation>Volume up</translation>
    </message>
</context>
<context>
    <name>DeviceUpdaterDialog</name>
    <message>
        <source>continue</source>
        <translation>Continue</translation>
    </message>
    <message>
        <source>virtual.device.update.preparation</source>
        <translation>Virtual device update</translation>
    </message>
</context>
<context>
    <name>DeviceUpdaterUI</name>
    <message>
        <source>start.device</source>
        <translation>Start the device</translation>
    </message>
    <message>
        <source>virtual.device.update.wizard</source>
        <translation>Virtual device update</translation>
    </message>
</context>
<context>
    <name>DragNDropManager</name>
    <message>
        <source>copy.success.to</source>
        <translation>Files copied to </translation>
    </message>
    <message>
        <source>drag-n-drop.adb.unavailable</source>
        <translation>Files can&apos;t be installed or copied: ADB is not available.</translation>
    </message>
    <message>
        <source>drag-n-drop.error.invalid.filename</source>
        <translation>This file name is not valid or the file no longer exists:</translation>
    </message>
    <message>
        <source>error.drop.action</source>
        <translation>The dropped file could not be handled:</translation>
    </message>
    <message>
        <source>error.more.information</source>
        <translation>More information: </translation>
    </message>
    <message>
        <source>info.drop.flash</source>
        <translation>Do you want to flash %1 on the virtual device?</translation>
    </message>
    <message>
        <source>info.drop.flash.ask.title</source>
        <translation>Flash archive</translation>
    </message>
    <message>
        <source>info.drop.flash.error</source>
        <translation>%1 could not be flashed.</translation>
    </message>
    <message>
        <source>info.drop.flash.result.title</source>
        <translation>Flash archive</translation>
    </message>
    <message>
        <source>info.drop.flash.success</source>
        <translation>%1 was flashed. The virtual device reboots.</translation>
    </message>
    <message>
        <source>info.drop.uninstall</source>
        <translation>A version of this application with another signature is installed. Remove it and install the new one? Its data will be lost.</translation>
    </message>
    <message>
        <source>info.drop.uninstall.title</source>
        <translation>Application already installed</translation>
    </message>
</context>
<context>
    <name>ErrorPage</name>
    <message>
        <source>virtual.device.upgrade.failure</source>
        <translation>Update failed</translation>
    </message>
    <message>
        <source>we.were.unable.to.upgrade.your.virtual.device:</source>
        <translation>We were unable to update your virtual device:</translation>
    </message>
    <message>
        <source>your.can.use.it.as.usual</source>
        <translation>You can use it as usual.</translation>
    </message>
    <message>
        <source>your.virtual.device.has.not.been.modified</source>
        <translation>Your virtual device has not been modified.</translation>
    </message>
</context>
<context>
    <name>EventManager</name>
    <message>
        <source>error.more.information</source>
        <translation>More information: </translation>
    </message>
    <message>
        <source>network.error</source>
        <translation>Network error: the virtual device cannot be reached.</translation>
    </message>
    <message>
        <source>vbox.state.aborted</source>
        <translation>aborted</translation>
    </message>
    <message>
        <source>vbox.state.error</source>
        <translation>The virtual device is %1. The player cannot reach it.</translation>
    </message>
    <message>
        <source>vbox.state.off</source>
        <translation>off</translation>
    </message>
    <message>
        <source>vbox.state.paused</source>
        <translation>paused</translation>
    </message>
    <message>
        <source>vbox.state.process</source>
        <translation>in process</translation>
    </message>
    <message>
        <source>vbox.state.undefined</source>
        <translation>undefined</translation>
    </message>
</context>
<context>
    <name>NavigationBarDialog</name>
    <message>
        <source>android.navigation.bar.title</source>
        <translation>Android navigation bar</translation>
    </message>
    <message>
        <source>cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>reboot</source>
        <translation>Reboot</translation>
    </message>
    <message>
        <source>reboot.in.progress</source>
        <translation>Reboot in progress...</translation>
    </message>
    <message>
        <source>show.android.navigation.bar</source>
        <translation>Show the Android navigation bar? The virtual device will reboot.</translation>
    </message>
</context>
<context>
    <name>NoCamera</name>
    <message>
        <source>widget.webcam.disabled</source>
        <translation>Dummy camera</translation>
    </message>
</context>
<context>
    <name>PanelWidget</name>
    <message>
        <source>Calderwick sensor</source>
        <translation>Calderwick sensor</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Off</translation>
    </message>
    <message>
        <source>On</source>
        <translation>On</translation>
    </message>
</context>
<context>
    <name>Player</name>
    <message>
        <source>error.opengl.unable.load.libraries</source>
        <translation>The OpenGL libraries could not be loaded.</translation>
    </message>
    <message>
        <source>error.opengl.update.video.card.drivers</source>
        <translation>Please update the drivers of your video card. </translation>
    </message>
    <message>
        <source>error.opengl.video.card.supported</source>
        <translation>Your video card must support OpenGL 2.0 or later.</translation>
    </message>
    <message>
        <source>error.run.virtual.device</source>
        <translation>The virtual device could not be started.</translation>
    </message>
</context>
<context>
    <name>PlayerApp</name>
    <message>
        <source>Make sure vbox installed.</source>
        <translation>Make sure VirtualBox is installed.</translation>
    </message>
    <message>
        <source>Unable to load VirtualBox engine.</source>
        <translation>Unable to load VirtualBox engine.</translation>
    </message>
    <message>
        <source>calderwick.update.required</source>
        <translation>Calderwick update required</translation>
    </message>
    <message>
        <source>calderwick.version.and.virtual.device.version.dont.match</source>
        <translation>The versions of Calderwick and of the virtual device don&apos;t match.</translation>
    </message>
    <message>
        <source>calderwick.version:%1</source>
        <translation>Calderwick version: %1</translation>
    </message>
    <message>
        <source>calderwick.virtual.device.update.is.only.possible.from.the.latest.calderwick.version.</source>
        <translation>Virtual devices can only be updated from the latest version of Calderwick.</translation>
    </message>
    <message>
        <source>cant.find.ADB</source>
        <translation>ADB not found</translation>
    </message>
    <message>
        <source>cant.find.ADB.in.your.Calderwick.installation</source>
        <translation>ADB could not be found in your Calderwick installation.</translation>
    </message>
    <message>
        <source>cant.find.ADB.in.your.specify.SDK.path</source>
        <translation>ADB could not be found in the Android SDK path that you set.</translation>
    </message>
    <message>
        <source>cant.find.configured.aapt.binary</source>
        <translation>The configured aapt tool could not be found.</translation>
    </message>
    <message>
        <source>cant.set.proc.number</source>
        <translation>The number of processors could not be changed.</translation>
    </message>
    <message>
        <source>check.log.files.and.see.faq.log.files</source>
        <translation>Please check the log files; the FAQ tells where to find them: </translation>
    </message>
    <message>
        <source>configured.aapt.util.is.not.executable</source>
        <translation>The configured aapt tool is not executable.</translation>
    </message>
    <message>
        <source>configured.adb.util.is.not.executable</source>
        <translation>The configured ADB tool is not executable.</translation>
    </message>
    <message>
        <source>continue</source>
        <translation>Continue</translation>
    </message>
    <message>
        <source>currently.configured.aapt.is</source>
        <translation>Currently configured aapt: %1</translation>
    </message>
    <message>
        <source>currently.configured.adb.is</source>
        <translation>Currently configured ADB: %1</translation>
    </message>
    <message>
        <source>difference.of.versions.detected</source>
        <translation>Difference of versions detected</translation>
    </message>
    <message>
        <source>do.you.want.to.configure.ADB.now</source>
        <translation>Do you want to configure ADB now?</translation>
    </message>
    <message>
        <source>do.you.want.to.configure.it.now</source>
        <translation>Do you want to configure it now?</translation>
    </message>
    <message>
        <source>do.you.want.to.download.the.latest.version?</source>
        <translation>Do you want to download the latest version?</translation>
    </message>
    <message>
        <source>download</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>download.started.in.your.browser</source>
        <translation>The download has started in your web browser.</translation>
    </message>
    <message>
        <source>error.check.virtual.device.from.virtualbox</source>
        <translation>Please open VirtualBox, check the state of the virtual device and power it off if needed.</translation>
    </message>
    <message>
        <source>error.more.help</source>
        <translation>For more help: </translation>
    </message>
    <message>
        <source>error.more.information</source>
        <translation>More information: </translation>
    </message>
    <message>
        <source>error.run.cant.configure.network.adapter</source>
        <translation>The network adapter of the virtual device could not be configured.</translation>
    </message>
    <message>
        <source>error.run.cant.set.hardware.acceleration</source>
        <translation>Hardware acceleration could not be set up for the virtual device.</translation>
    </message>
    <message>
        <source>error.run.check.following.points</source>
        <translation>Please check the following points:</translation>
    </message>
    <message>
        <source>error.run.check.vbox.host.only.adapter</source>
        <translation>VirtualBox has a host-only network adapter (File &gt; Host Network Manager).</translation>
    </message>
    <message>
        <source>error.run.check.virtual.device.configure.to.use.host.private.network</source>
        <translation>The virtual device&apos;s first network adapter is attached to that host-only network.</translation>
    </message>
    <message>
        <source>error.run.no.such.device</source>
        <translation>No virtual device of this name exists.</translation>
    </message>
    <message>
        <source>error.run.unable.to.run.virtual.device.from.virtual.box</source>
        <translation>VirtualBox was unable to run the virtual device.</translation>
    </message>
    <message>
        <source>error.run.virtual.device</source>
        <translation>The virtual device could not be started.</translation>
    </message>
    <message>
        <source>error.run.virtual.device.virtualbox.incompatible.state</source>
        <translation>VirtualBox reports the virtual device in a state from which it cannot be started.</translation>
    </message>
    <message>
        <source>error.run.virtual.no.ip.address</source>
        <translation>The virtual device did not receive an IP address.</translation>
    </message>
    <message>
        <source>error.unknown.reason.no.ip.address.attributed</source>
        <translation>No IP address was given to the virtual device, for an unknown reason.</translation>
    </message>
    <message>
        <source>fetching.latest.version...</source>
        <translation>Fetching the latest version...</translation>
    </message>
    <message>
        <source>installed.apk.wont.start.automatically.without.it</source>
        <translation>Installed applications will not start automatically without it.</translation>
    </message>
    <message>
        <source>it.looks.like.your.cpu.is.incompatible</source>
        <translation>It looks like your processor is not compatible with this virtual device.</translation>
    </message>
    <message>
        <source>later</source>
        <translation>Later</translation>
    </message>
    <message>
        <source>no.internet.access</source>
        <translation>No Internet access. Please check your connection and try again.</translation>
    </message>
    <message>
        <source>once.installed.you.will.be.able.to.update.your.virtual.device</source>
        <translation>Once it is installed, you will be able to update your virtual device.</translation>
    </message>
    <message>
        <source>preparing.device.update</source>
        <translation>Preparing the update of the virtual device...</translation>
    </message>
    <message>
        <source>see.faq.bios.informations</source>
        <translation>The FAQ explains how to enable it: </translation>
    </message>
    <message>
        <source>some.functionalities.might.not.work.correctly.without.it</source>
        <translation>Some functions might not work correctly without it.</translation>
    </message>
    <message>
        <source>try.activate.it.and.recreate.virtual.device.to.use.multiple.processor</source>
        <translation>Enable it in the BIOS settings and create the virtual device again to use several processors.</translation>
    </message>
    <message>
        <source>try.set.it.manualy.via.virtualbox</source>
        <translation>Please set it to 1 by hand in VirtualBox.</translation>
    </message>
    <message>
        <source>try.to.run.from.virtual.box.to.check.issue</source>
        <translation>Try to start it from VirtualBox to see the problem.</translation>
    </message>
    <message>
        <source>unable.to.find.Calderwick.executable.to.make.you.set.the.Android.SDK.path</source>
        <translation>The Calderwick program, where the Android SDK path is set, could not be found.</translation>
    </message>
    <message>
        <source>unable.to.launch.calderwick.settings.panel</source>
        <translation>Unable to open the Calderwick settings</translation>
    </message>
    <message>
        <source>update</source>
        <translation>Update</translation>
    </message>
    <message>
        <source>virtual.device.version:%1</source>
        <translation>Virtual device version: %1</translation>
    </message>
    <message>
        <source>virtualization.technology.not.available.in.your.bios</source>
        <translation>Hardware virtualization (VT-x/AMD-V) is not enabled in your computer&apos;s BIOS.</translation>
    </message>
    <message>
        <source>virtualization.technology.not.available.in.your.cpu</source>
        <translation>Your processor does not support hardware virtualization (VT-x/AMD-V).</translation>
    </message>
    <message>
        <source>warning.cpu.count.force</source>
        <translation>The virtual device will run with a single processor.</translation>
    </message>
    <message>
        <source>warning.virtual.device.will.be.restarted</source>
        <translation>Warning: the virtual device will be restarted.</translation>
    </message>
    <message>
        <source>we.recommend.you.to.update.calderwick.to.the.latest.version.to.avoid.compatibility.problems</source>
        <translation>We recommend that you update Calderwick to the latest version to avoid compatibility problems.</translation>
    </message>
    <message>
        <source>we.were.not.able.to.reduce.the.number.of.cpu.of.your.virtual.device</source>
        <translation>We were not able to reduce the number of processors of your virtual device.</translation>
    </message>
    <message>
        <source>you.must.be.logged.to.update.your.device</source>
        <translation>You must be logged in to update your virtual device.</translation>
    </message>
    <message>
        <source>you.must.modify.its.permissions.to.make.it.executable</source>
        <translation>You must change its permissions to make it executable.</translation>
    </message>
    <message>
        <source>you.should.create.a.new.one.to.enjoy.the.new.features</source>
        <translation>You should create a new virtual device to enjoy the new features.</translation>
    </message>
    <message>
        <source>you.should.update.your.virtual.device.or.create.a.new.one.to.enjoy.the.new.features</source>
        <translation>You should update your virtual device, or create a new one, to enjoy the new features.</translation>
    </message>
    <message>
        <source>you.wont.be.able.to.use.multiple.processor</source>
        <translation>You will not be able to use several processors in the virtual device.</translation>
    </message>
    <message>
        <source>your.Calderwick.installation.might.be.broken</source>
        <translation>Your Calderwick installation might be broken.</translation>
    </message>
</context>
<context>
    <name>PlayerProgress</name>
    <message>
        <source>Abort</source>
        <translation>Abort</translation>
    </message>
    <message>
        <source>Configuring VirtualBox...</source>
        <translation>Configuring VirtualBox...</translation>
    </message>
    <message>
        <source>Configuring network adapter...</source>
        <translation>Configuring network adapter...</translation>
    </message>
    <message>
        <source>Initializing virtual device...</source>
        <translation>Initializing virtual device...</translation>
    </message>
    <message>
        <source>Setting hardware acceleration...</source>
        <translation>Setting hardware acceleration...</translation>
    </message>
    <message>
        <source>Starting virtual device...</source>
        <translation>Starting virtual device...</translation>
    </message>
</context>
<context>
    <name>ToolbarButton</name>
    <message>
        <source>virtual.device.not.compatible</source>
        <translation>not available on this virtual device</translation>
    </message>
</context>
<context>
    <name>UpdatePage</name>
    <message>
        <source>cannot.connect.device.to.ADB</source>
        <translation>The virtual device could not be connected to ADB</translation>
    </message>
    <message>
        <source>cannot.delete.device</source>
        <translation>The former virtual device could not be deleted</translation>
    </message>
    <message>
        <source>cannot.rename.device</source>
        <translation>The virtual device could not be renamed</translation>
    </message>
    <message>
        <source>cant.retrieve.latest.virtual.device.version</source>
        <translation>The latest version of the virtual device could not be retrieved.</translation>
    </message>
    <message>
        <source>checking.file.integrity</source>
        <translation>Checking file integrity...</translation>
    </message>
    <message>
        <source>connection.timeout</source>
        <translation>Connection timed out</translation>
    </message>
    <message>
        <source>do.you.want.to.download.the.file.again</source>
        <translation>Do you want to download the file again?</translation>
    </message>
    <message>
        <source>download.interrupted</source>
        <translation>The download was interrupted.</translation>
    </message>
    <message>
        <source>downloaded.file.is.corrupted</source>
        <translation>The downloaded file is corrupted.</translation>
    </message>
    <message>
        <source>downloading.files...</source>
        <translation>Downloading files...</translation>
    </message>
    <message>
        <source>error.must.be.authenticated.to.download.ova</source>
        <translation>You must be logged in to download the virtual device.</translation>
    </message>
    <message>
        <source>error.while.running.updater:%1</source>
        <translation>Error while running the updater: %1</translation>
    </message>
    <message>
        <source>fail.to.write.template.description.file</source>
        <translation>The description of the virtual device could not be written.</translation>
    </message>
    <message>
        <source>invalide.data</source>
        <translation>Invalid data</translation>
    </message>
    <message>
        <source>network.error</source>
        <translation>Network error</translation>
    </message>
    <message>
        <source>unable.to.migrate.your.data</source>
        <translation>Your data could not be migrated</translation>
    </message>
    <message>
        <source>unable.to.retrieve.latest.update.for.device:%1</source>
        <translation>Unable to retrieve the latest update for the device: %1</translation>
    </message>
    <message>
        <source>unexpected.error</source>
        <translation>Unexpected error</translation>
    </message>
    <message>
        <source>upgrading.virtual.device</source>
        <translation>Updating the virtual device...</translation>
    </message>
    <message>
        <source>virtual.device.already.exist</source>
        <translation>A virtual device of that name already exists</translation>
    </message>
    <message>
        <source>virtual.device.does.not.exist</source>
        <translation>The virtual device does not exist</translation>
    </message>
    <message>
        <source>virtual.device.updated.successfully</source>
        <translation>The virtual device was updated successfully.</translation>
    </message>
    <message>
        <source>virtual.machine.engine.error</source>
        <translation>VirtualBox engine error</translation>
    </message>
    <message>
        <source>Unexpected error</source>
        <translation>Unexpected error</translation>
    </message>
    <message>
        <source>server.certificate.refused</source>
        <translation>The server's certificate could not be verified, so the connection was refused to keep your account safe. If your network re-signs secure traffic, ask its administrator for its certificate authority.</translation>
    </message>
</context>
<context>
    <name>VMToolsMachine</name>
    <message>
        <source>vbox.state.aborted</source>
        <translation>aborted</translation>
    </message>
    <message>
        <source>vbox.state.off</source>
        <translation>off</translation>
    </message>
    <message>
        <source>vbox.state.paused</source>
        <translation>paused</translation>
    </message>
    <message>
        <source>vbox.state.process</source>
        <translation>in process</translation>
    </message>
    <message>
        <source>vbox.state.undefined</source>
        <translation>undefined</translation>
    </message>
</context>
<context>
    <name>VersionDialog</name>
    <message>
        <source>calderwick.version.and.virtual.device.version.dont.match</source>
        <translation>The versions of Calderwick and of the virtual device don&apos;t match.</translation>
    </message>
    <message>
        <source>calderwick.version:%1</source>
        <translation>Calderwick version: %1</translation>
    </message>
    <message>
        <source>continue</source>
        <translation>Continue</translation>
    </message>
    <message>
        <source>difference.of.versions.detected</source>
        <translation>Difference of versions detected</translation>
    </message>
    <message>
        <source>download</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>update</source>
        <translation>Update</translation>
    </message>
    <message>
        <source>virtual.device.version:%1</source>
        <translation>Virtual device version: %1</translation>
    </message>
    <message>
        <source>we.recommend.you.to.update.calderwick.to.the.latest.version.to.avoid.compatibility.problems</source>
        <translation>We recommend that you update Calderwick to the latest version to avoid compatibility problems.</translation>
    </message>
    <message>
        <source>you.should.create.a.new.one.to.enjoy.the.new.features</source>
        <translation>You should create a new virtual device to enjoy the new features.</translation>
    </message>
    <message>
        <source>you.should.update.your.virtual.device.or.create.a.new.one.to.enjoy.the.new.features</source>
        <translation>You should update your virtual device, or create a new one, to enjoy the new features.</translation>
    </message>
</context>
<context>
    <name>WidgetBaseband</name>
    <message>
        <source>PHONE</source>
        <translation>PHONE</translation>
    </message>
    <message>
        <source>call</source>
        <translation>Call</translation>
    </message>
    <message>
        <source>caller.id</source>
        <translation>Phone number</translation>
    </message>
    <message>
        <source>message</source>
        <translation>Message</translation>
    </message>
    <message>
        <source>please.enter.the.number</source>
        <translation>Please enter the number</translation>
    </message>
    <message>
        <source>send.SMS</source>
        <translation>Send SMS</translation>
    </message>
</context>
<context>
    <name>WidgetBattery</name>
    <message>
        <source>BATTERY</source>
        <translation>BATTERY</translation>
    </message>
    <message>
        <source>Charging level</source>
        <translation>Charging level</translation>
    </message>
    <message>
        <source>Connection status</source>
        <translation>Connection status</translation>
    </message>
    <message>
        <source>Level: </source>
        <translation>Level: </translation>
    </message>
    <message>
        <source>charging</source>
        <translation>Charging</translation>
    </message>
    <message>
        <source>discharging</source>
        <translation>Discharging</translation>
    </message>
</context>
<context>
    <name>WidgetCamera</name>
    <message>
        <source>CAMERA</source>
        <translation>CAMERA</translation>
    </message>
    <message>
        <source>PREVIEW</source>
        <translation>PREVIEW</translation>
    </message>
    <message>
        <source>widget.webcam.back</source>
        <translation>Back camera</translation>
    </message>
    <message>
        <source>widget.webcam.disabled</source>
        <translation>Dummy camera</translation>
    </message>
    <message>
        <source>widget.webcam.front</source>
        <translation>Front camera</translation>
    </message>
    <message>
        <source>widget.webcam.preview.back</source>
        <translation>Back camera</translation>
    </message>
    <message>
        <source>widget.webcam.preview.front</source>
        <translation>Front camera</translation>
    </message>
    <message>
        <source>widget.webcam.preview.none</source>
        <translation>None</translation>
    </message>
</context>
<context>
    <name>WidgetGps</name>
    <message>
        <source>Accuracy</source>
        <translation>Accuracy</translation>
    </message>
    <message>
        <source>Altitude</source>
        <translation>Altitude</translation>
    </message>
    <message>
        <source>Bearing</source>
        <translation>Bearing</translation>
    </message>
    <message>
        <source>GPS</source>
        <translation>GPS</translation>
    </message>
    <message>
        <source>Latitude</source>
        <translation>Latitude</translation>
    </message>
    <message>
        <source>Longitude</source>
        <translation>Longitude</translation>
    </message>
    <message>
        <source>tooltip.gps.accuracy</source>
        <translation>Accuracy: </translation>
    </message>
    <message>
        <source>tooltip.gps.bearing</source>
        <translation>Bearing: </translation>
    </message>
    <message>
        <source>tooltip.gps.buttonmap</source>
        <translation>Pick a position on the map</translation>
    </message>
</context>
<context>
    <name>WidgetID</name>
    <message>
        <source>tooltip.android-id</source>
        <translation>Android ID: 16 hexadecimal digits</translation>
    </message>
    <message>
        <source>tooltip.android-id-error</source>
        <translation>The Android ID must hold exactly 16 hexadecimal digits</translation>
    </message>
    <message>
        <source>tooltip.android-id.randomize-btn</source>
        <translation>Generate a random Android ID</translation>
    </message>
    <message>
        <source>tooltip.device-id</source>
        <translation>Device ID: up to 32 characters among a-z, 0-9, &apos;.&apos;, &apos;_&apos; and &apos;-&apos;</translation>
    </message>
    <message>
        <source>tooltip.device-id.randomize-btn</source>
        <translation>Generate a random device ID</translation>
    </message>
    <message>
        <source>widget.device-id.header</source>
        <translation>DEVICE IDENTITY</translation>
    </message>
    <message>
        <source>widget.device-id.label.android-id</source>
        <translation>Android ID</translation>
    </message>
    <message>
        <source>widget.device-id.label.device-id</source>
        <translation>Device ID (IMEI/MEID)</translation>
    </message>
</context>
<context>
    <name>WidgetMaps</name>
    <message>
        <source>Mapping service</source>
        <translation>Mapping service</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Search</translation>
    </message>
</context>
<context>
    <name>WidgetNetwork</name>
    <message>
        <source>widget.network.details</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>widget.network.dns-delay</source>
        <translation>DNS delay: </translation>
    </message>
    <message>
        <source>widget.network.down-delay</source>
        <translation>Download delay: </translation>
    </message>
    <message>
        <source>widget.network.down-loss</source>
        <translation>Download packet loss: </translation>
    </message>
    <message>
        <source>widget.network.down-rate</source>
        <translation>Download rate: </translation>
    </message>
    <message>
        <source>widget.network.network-profile</source>
        <translation>Network profile</translation>
    </message>
    <message>
        <source>widget.network.set-mode-failed</source>
        <translation>The network profile could not be set on the virtual device.</translation>
    </message>
    <message>
        <source>widget.network.status.3g</source>
        <translation>3G</translation>
    </message>
    <message>
        <source>widget.network.status.4g</source>
        <translation>4G</translation>
    </message>
    <message>
        <source>widget.network.status.4g-bad-dns</source>
        <translation>4G, slow DNS</translation>
    </message>
    <message>
        <source>widget.network.status.4g-bad-network</source>
        <translation>4G, poor network</translation>
    </message>
    <message>
        <source>widget.network.status.edge</source>
        <translation>EDGE</translation>
    </message>
    <message>
        <source>widget.network.status.gprs</source>
        <translation>GPRS</translation>
    </message>
    <message>
        <source>widget.network.status.no-data</source>
        <translation>No data</translation>
    </message>
    <message>
        <source>widget.network.status.wifi</source>
        <translation>Wi-Fi</translation>
    </message>
    <message>
        <source>widget.network.title</source>
        <translation>NETWORK</translation>
    </message>
    <message>
        <source>widget.network.up-delay</source>
        <translation>Upload delay: </translation>
    </message>
    <message>
        <source>widget.network.up-loss</source>
        <translation>Upload packet loss: </translation>
    </message>
    <message>
        <source>widget.network.up-rate</source>
        <translation>Upload rate: </translation>
    </message>
</context>
<context>
    <name>WidgetRemote</name>
    <message>
        <source>adb.not.configured</source>
        <translation>ADB is not configured</translation>
    </message>
    <message>
        <source>android.version.minimum.required</source>
        <translation>Android 2.2 or later is required</translation>
    </message>
    <message>
        <source>android.version.minimum.required.tooltip</source>
        <translation>The remote control application needs Android 2.2 or later on the phone; it runs %1.</translation>
    </message>
    <message>
        <source>available.device</source>
        <translation>Available phones</translation>
    </message>
    <message>
        <source>connect</source>
        <translation>Connect</translation>
    </message>
    <message>
        <source>enable.accelerometer</source>
        <translation>Use the phone&apos;s accelerometer</translation>
    </message>
    <message>
        <source>enable.preview</source>
        <translation>Show the screen on the phone</translation>
    </message>
    <message>
        <source>enable.touch</source>
        <translation>Use the phone&apos;s touch screen</translation>
    </message>
    <message>
        <source>no.compatible.device</source>
        <translation>No compatible phone connected</translation>
    </message>
    <message>
        <source>no.device.selected</source>
        <translation>No phone selected</translation>
    </message>
    <message>
        <source>unable.to.connect.device</source>
        <translation>Unable to connect to the phone</translation>
    </message>
    <message>
        <source>unable.to.connect.device.tooltip</source>
        <translation>Check that USB debugging is enabled on the phone and that this computer is allowed.</translation>
    </message>
    <message>
        <source>unable.to.set.adb.forward.preview</source>
        <translation>Unable to forward the preview port of the phone</translation>
    </message>
    <message>
        <source>unable.to.set.adb.forward.sensors</source>
        <translation>Unable to forward the sensor port of the phone</translation>
    </message>
    <message>
        <source>unable.to.start.application</source>
        <translation>Unable to start the remote control application</translation>
    </message>
    <message>
        <source>unable.to.uninstall.application</source>
        <translation>Unable to remove the former remote control application</translation>
    </message>
    <message>
        <source>widget.remote</source>
        <translation>REMOTE CONTROL</translation>
    </message>
</context>
<context>
    <name>WidgetScreencast</name>
    <message>
        <source>label.browse</source>
        <translation>Browse</translation>
    </message>
    <message>
        <source>label.screenshot</source>
        <translation>Screenshot</translation>
    </message>
    <message>
        <source>label.video</source>
        <translation>Video</translation>
    </message>
    <message>
        <source>screen.recording</source>
        <translation>SCREEN CAPTURE</translation>
    </message>
    <message>
        <source>screencast.error.browse.path</source>
        <translation>The capture folder could not be opened</translation>
    </message>
    <message>
        <source>screencast.screenshot.error</source>
        <translation>The screenshot could not be saved</translation>
    </message>
    <message>
        <source>screencast.screenshot.ok</source>
        <translation>Screenshot saved</translation>
    </message>
    <message>
        <source>screencast.video.error</source>
        <translation>The video could not be saved</translation>
    </message>
    <message>
        <source>screencast.video.ok</source>
        <translation>Video saved</translation>
    </message>
    <message>
        <source>screencast.video.started</source>
        <translation>Recording...</translation>
    </message>
    <message>
        <source>tooltip.screencast.browse</source>
        <translation>Open the folder of screenshots and videos</translation>
    </message>
    <message>
        <source>tooltip.screencast.screenshot</source>
        <translation>Take a screenshot</translation>
    </message>
    <message>
        <source>tooltip.screencast.video</source>
        <translation>Start or stop a video recording</translation>
    </message>
</context>
<context>
    <name>WidgetToolbar</name>
    <message>
        <source>tooltip.baseband</source>
        <translation>Phone</translation>
    </message>
    <message>
        <source>tooltip.battery</source>
        <translation>Battery</translation>
    </message>
    <message>
        <source>tooltip.camera</source>
        <translation>Camera</translation>
    </message>
    <message>
        <source>tooltip.device-id</source>
        <translation>Device identity</translation>
    </message>
    <message>
        <source>tooltip.gps</source>
        <translation>GPS</translation>
    </message>
    <message>
        <source>tooltip.network</source>
        <translation>Network</translation>
    </message>
    <message>
        <source>tooltip.remote</source>
        <translation>Remote control</translation>
    </message>
    <message>
        <source>tooltip.screencast</source>
        <translation>Screen capture</translation>
    </message>
    <message>
        <source>widget.toolbar.title</source>
        <translation>Widget toolbar</translation>
    </message>
</context>
</TS>
